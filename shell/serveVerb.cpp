// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>
#include <thread>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/interrupt.h"
#include "shell/note.h"
#include "shell/serve/browser.h"
#include "shell/serve/freshPage.h"
#include "shell/serve/httpServer.h"
#include "shell/serve/pageAnswers.h"
#include "shell/serve/pageWatch.h"
#include "shell/verb.h"

namespace shell {

namespace {

/// How long a question waits at most until somebody sees it.
constexpr int kPauseMs = 50;

/// A server that answers on threads of its own for as long as this lives.
class Serving {
public:
    Serving(HttpServer& server, FreshPage& pages)
        : m_server(server), m_pages(pages), m_thread([&server] { server.serve(); }) {}
    ~Serving() {
        m_pages.close();
        m_server.stop();
        m_thread.join();
    }
    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;

private:
    HttpServer& m_server;
    FreshPage& m_pages;
    std::thread m_thread;
};

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
        PageWatch watch(session.projectDir, m_names);
        watch.open();
        const std::string token = newToken();
        FreshPage pages;
        std::unique_ptr<PageAnswers> answers;
        const std::unique_ptr<HttpServer> server = loadHttpServer(
            [&answers](const HttpRequest& request) { return answers->answer(request); });
        const int port = server->bind(m_port);
        if (port == 0)
            throw CommandError(kExitRefused, m_port == 0
                                                 ? "No port can be had to serve at."
                                                 : fmt::format("Port {} can't be had. Leave --port "
                                                               "away to take a free one.",
                                                               m_port));
        answers = std::make_unique<PageAnswers>(token, port, pages);
        // Before threads are made, so that Ctrl-C comes to this one.
        const Interrupt interrupt;
        const Serving serving(*server, pages);
        const std::string address = fmt::format("http://127.0.0.1:{}/?token={}", port, token);
        fmt::print("{}\n", address);
        std::fflush(stdout);
        note("Serving until Ctrl-C. Who knows the address can read the project's runs.");
        const std::unique_ptr<Browser> browser =
            m_wantsBrowser ? std::make_unique<Browser>(address) : nullptr;
        while (!interrupt.pause(kPauseMs)) {
            if (pages.isWanted())
                pages.publish(watch.look());
        }
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
