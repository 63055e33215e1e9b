# What every target of the project shares: warnings, sanitizers, the compiler
# cache, and how a library and a test program are declared.

include(GenerateExportHeader)

find_program(XPERIMENT_CCACHE ccache)
if(XPERIMENT_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${XPERIMENT_CCACHE})
endif()

add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror=delete-incomplete
  $<$<BOOL:${XPERIMENT_WERROR}>:-Werror>
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A class of a source may have members of its own unnamed types; here the source looks like a header.
  target_compile_options(project_options INTERFACE -Wno-subobject-linkage)
endif()

if(XPERIMENT_SANITIZE)
  add_compile_options(-fsanitize=${XPERIMENT_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${XPERIMENT_SANITIZE})
endif()
if(XPERIMENT_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

# xperiment_library(<target> API <macro> EXPORT_HEADER <tail>)
# A shared library whose public headers form the file set HEADERS, rooted at
# shared/ and at the folder of generated headers.
function(xperiment_library target)
  cmake_parse_arguments(ARG "" "API;EXPORT_HEADER;ROOT" "" ${ARGN})
  if(NOT ARG_ROOT)
    set(ARG_ROOT ${PROJECT_SOURCE_DIR}/shared)
  endif()
  set(generated ${PROJECT_BINARY_DIR}/generated/${target})
  add_library(${target} SHARED)
  add_library(xperiment::${target} ALIAS ${target})
  generate_export_header(${target} EXPORT_MACRO_NAME ${ARG_API}
    EXPORT_FILE_NAME ${generated}/${ARG_EXPORT_HEADER})
  target_sources(${target} PUBLIC
    FILE_SET HEADERS BASE_DIRS ${ARG_ROOT}
    FILE_SET generated TYPE HEADERS BASE_DIRS ${generated} FILES ${generated}/${ARG_EXPORT_HEADER})
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:project_options>)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME xperiment_${target}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}
    INSTALL_RPATH $ORIGIN
    BUILD_WITH_INSTALL_RPATH ON
    VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()

# xperiment_program(<target>)
# A program that is installed. It and the libraries find each other by places relative to
# their own, in the build tree as in an installed one: no search path of theirs has an
# empty element, which would mean the current folder.
function(xperiment_program target)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
    INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR}
    BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# xperiment_test_options(<target>)
# A test runs for a moment: to optimise it takes longer than it saves. What it tests is optimised.
function(xperiment_test_options target)
  target_link_libraries(${target} PRIVATE project_options GTest::gmock GTest::gtest_main)
  if(CMAKE_BUILD_TYPE STREQUAL "Release" OR XPERIMENT_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# xperiment_test(<name> SOURCES ... [LIBRARIES ...] [LABEL ...] [TIMEOUT seconds])
# A GoogleTest program; every test of it becomes a CTest test with one label, "unit" by
# default. "threads" marks tests that use more than one thread: the target threaded_tests
# builds them alone.
function(xperiment_test name)
  cmake_parse_arguments(ARG "" "LABEL;TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_LABEL)
    set(ARG_LABEL unit)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/shared)
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
  xperiment_test_options(${name})
  if(ARG_LABEL STREQUAL "threads")
    if(NOT TARGET threaded_tests)
      add_custom_target(threaded_tests)
    endif()
    add_dependencies(threaded_tests ${name})
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
endfunction()
