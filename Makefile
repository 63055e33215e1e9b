# Thin: each target sets up what it needs and calls CMake.
BUILD ?= build/release
JOBS ?= $(shell nproc)
# Many tests wait for tools, files and pages: two for each processor fill the time.
TEST_JOBS ?= $(shell expr $(JOBS) '*' 2)

.PHONY: all demo test bench package clean

all: $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

demo: setup-build
	cmake --preset release -DXPERIMENT_BUILD_TESTS=OFF -B build/demo
	cmake --build build/demo -j $(JOBS)
	tools/demo.sh build/demo

test: setup-test
	cmake --preset release -B $(BUILD)
	cmake --build $(BUILD) -j $(JOBS)
	ctest --test-dir $(BUILD) --output-on-failure -j $(TEST_JOBS)

bench: setup-bench
	cmake --preset bench
	cmake --build build/bench -j $(JOBS) --target benchmarks
	cmake --build build/bench --target run_benchmarks

package: all
	cpack --config $(BUILD)/CPackConfig.cmake -B build/package

setup-%:
	tools/setup.sh $*

$(BUILD)/build.ninja: setup-build
	cmake --preset release -B $(BUILD)

clean:
	rm -rf build
