// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "benchmarks/BenchFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace bench {

BenchFolder::BenchFolder() {
    const char* chosen = std::getenv("XPERIMENT_BENCH_DIR");
    const fs::path parent = chosen == nullptr ? fs::temp_directory_path() : fs::path(chosen);
    m_path = (parent / "xp-bench-XXXXXX").string();
    if (mkdtemp(m_path.data()) == nullptr)
        throw std::runtime_error("no folder " + m_path);
}

BenchFolder::~BenchFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string BenchFolder::folder(const std::string& name) const {
    const std::string made = m_path + "/" + name;
    fs::create_directories(made);
    return made;
}

void writePlainly(const std::string& path, const std::string& content, int mode) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0 || write(fd, content.data(), content.size()) < 0)
        throw std::runtime_error("can't write " + path);
    close(fd);
}

std::string readWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace bench
