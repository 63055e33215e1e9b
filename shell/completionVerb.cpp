// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "shell/completion.h"
#include "shell/exitStatus.h"
#include "shell/verb.h"

namespace shell {

namespace {

class CompletionVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("shell", m_shell, "bash, zsh or fish")->required();
    }

    int run(const Session&) override {
        fmt::print("{}", completionScript(m_shell));
        return kExitDone;
    }

private:
    std::string m_shell;
};

}  // namespace

std::unique_ptr<Verb> makeCompletionVerb() {
    return makeVerb<CompletionVerb>();
}

}  // namespace shell
