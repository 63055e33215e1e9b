// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// Plays a corpus back: each file of the folder that is named, whole; one whose name begins
// with "rich" also cut after each of its bytes. A reader that fails ends the process; the
// last line then tells the input.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/fuzzSupport.h"

namespace {

bool isRich(const std::filesystem::path& path) {
    return path.filename().string().rfind("rich", 0) == 0;
}

std::vector<std::filesystem::path> filesOf(const char* folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::uint8_t> bytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A copy of exactly this size, so that a look behind its end is seen.
void give(const std::vector<std::uint8_t>& bytes, std::size_t size) {
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(size);
    const std::vector<std::uint8_t> input(bytes.begin(), end);
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

void play(const std::filesystem::path& path) {
    const std::vector<std::uint8_t> bytes = bytesOf(path);
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);
    for (std::size_t size = 0; isRich(path) && size < bytes.size(); ++size)
        give(bytes, size);
    give(bytes, bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::filesystem::path> files =
        argc == 2 ? filesOf(argv[1]) : std::vector<std::filesystem::path>();
    if (files.empty()) {
        std::fprintf(stderr, "usage: %s FOLDER, one that holds seeds\n", argv[0]);
        return 2;
    }
    for (const std::filesystem::path& path : files)
        play(path);
    std::printf("%zu seeds\n", files.size());
    return 0;
}
