// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace shell {

/// The word behind "xp" that the shells' scripts ask with.
extern const char kCompleteWord[];

/// What may stand for the last word of a command line.
struct Completion {
    /// What the shell is to offer: the candidates, or what it finds among files or folders.
    enum Kind { kNames, kFiles, kFolders };
    struct Candidate {
        std::string name;
        /// What it is, in a few words; empty when nothing is to be said.
        std::string text;
    };

    Kind kind = kNames;
    std::vector<Candidate> candidates;
};

/// What may stand for the last of `words`, the words behind "xp" up to the cursor; it may be
/// empty. A word that a shell split at '=' is taken for one. Reads the project's file and
/// the strategies, and no run directory. Never throws for what is wrong with them: what can't
/// be read is left out.
Completion complete(std::vector<std::string> words);

/// Prints complete(): "names", "files" or "folders", then a line for each candidate, name and
/// text with a tab between them. Gives the exit status.
int printCompletions(const std::vector<std::string>& words);

/// The script that makes a shell complete xp: "bash", "zsh" or "fish".
/// @throws CommandError another shell.
std::string completionScript(const std::string& shellName);

}  // namespace shell
