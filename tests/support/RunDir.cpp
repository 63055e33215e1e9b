// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/RunDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace test {

namespace {

std::string makeFolder() {
    std::string pattern = (fs::temp_directory_path() / "xp-run-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder: " + pattern);
    return fs::canonical(pattern).string();
}

}  // namespace

RunDir::RunDir() : m_path(makeFolder()) {}

RunDir::~RunDir() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void RunDir::mark(const std::string& name, const std::string& content) const {
    std::ofstream file(path(name), std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    if (!file)
        throw std::runtime_error("can't write " + path(name));
}

void RunDir::folder(const std::string& name) const {
    fs::create_directories(path(name));
}

void RunDir::unmark(const std::string& name) const {
    fs::remove(path(name));
}

bool RunDir::has(const std::string& name) const {
    return fs::exists(fs::symlink_status(path(name)));
}

std::string RunDir::read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    if (!file)
        throw std::runtime_error("can't read " + path(name));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void RunDir::touch(const std::string& name, long seconds) const {
    timespec times[2] = {{seconds, 0}, {seconds, 0}};
    if (utimensat(AT_FDCWD, path(name).c_str(), times, 0) != 0)
        throw std::runtime_error("can't set the time of " + path(name));
}

}  // namespace test
