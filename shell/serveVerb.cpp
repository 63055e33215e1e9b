// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/interrupt.h"
#include "shell/note.h"
#include "shell/serve/browser.h"
#include "shell/serve/pageServer.h"
#include "shell/verb.h"

namespace shell {

namespace {

/// How long a question waits at most until somebody sees it.
constexpr int kServePauseMs = 50;

class ServeVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps; all of the project if unsaid");
        command.add_option("--port", m_port, "The port; any free one if unsaid")
            ->check(CLI::Range(1, 65535));
        command.add_flag("--open", m_wantsBrowser, "Show the page in the browser");
    }

    int run(const Session& session) override {
        // Before threads are made, so that Ctrl-C comes to this one.
        const Interrupt interrupt;
        PageServer server(session.projectDir, m_names, m_port);
        fmt::print("{}\n", server.getAddress());
        std::fflush(stdout);
        note("Serving until Ctrl-C. Who knows the address can read the project's runs.");
        const std::unique_ptr<Browser> browser =
            m_wantsBrowser ? std::make_unique<Browser>(server.getAddress()) : nullptr;
        while (!interrupt.pause(kServePauseMs))
            server.look();
        return kExitDone;
    }

private:
    std::vector<std::string> m_names;
    int m_port = 0;
    bool m_wantsBrowser = false;
};

}  // namespace

std::unique_ptr<Verb> makeServeVerb() {
    return std::make_unique<ServeVerb>();
}

}  // namespace shell
