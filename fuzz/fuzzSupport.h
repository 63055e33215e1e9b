// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Gives one input to the reader of this program. The fuzzer and the playback of a corpus
/// both call it, any number of times in one process: an input leaves nothing behind that a
/// later one could see. Always 0; a broken promise of the reader ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// A folder of this process, removed at its end, for readers that read files. From its
/// making on, what is written to std::cout and std::cerr is dropped: the readers' own
/// lines about bad input would bury everything else.
class Scratch {
public:
    Scratch();

    /// The path of `name` in it.
    std::string path(const std::string& name) const { return m_folder + "/" + name; }
    /// Makes the folder `name`; gives its path.
    std::string folder(const std::string& name) const;
    /// Makes the file `name` anew, without syncing it; gives its path.
    std::string write(const std::string& name, const std::uint8_t* data, std::size_t size) const;

private:
    std::string m_folder;
};

/// The one of the process.
const Scratch& scratch();

/// Aborts, with `promise` on standard error, unless `kept`.
void require(bool kept, const char* promise);

}  // namespace fuzz
