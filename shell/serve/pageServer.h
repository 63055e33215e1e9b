// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "shell/serve/freshPage.h"
#include "shell/serve/pageWatch.h"

namespace shell {

struct HttpServer;
class PageAnswers;

/// The live page of a project on this host's loopback address, for as long as this lives.
///
/// Requests come in on threads of its own, but the project is looked at by one thread alone,
/// that of its owner, which calls look() again and again.
class PageServer {
public:
    /// Of the project in `dir` or above; of all its runs, or of those that `names` mean. 0
    /// takes any free port. @throws CommandError or HEXUserException it can't be served.
    PageServer(const std::string& dir, const std::vector<std::string>& names, int port);
    /// Who waits for an answer gets the last page.
    ~PageServer();

    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    /// With the token that one has to know: "http://127.0.0.1:8080/?token=...".
    const std::string& getAddress() const { return m_address; }

    /// Looks at the project when somebody asks; a question waits for the next call, for ten
    /// seconds at most. Throws nothing.
    void look();

private:
    PageWatch m_watch;
    FreshPage m_pages;
    std::unique_ptr<PageAnswers> m_answers;
    std::unique_ptr<HttpServer> m_server;
    std::string m_address;
    std::thread m_thread;
};

}  // namespace shell
