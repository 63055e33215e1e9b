// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/pageServer.h"

#include <fmt/format.h>

#include "shell/exitStatus.h"
#include "shell/serve/httpServer.h"
#include "shell/serve/pageAnswers.h"

namespace shell {

PageServer::PageServer(const std::string& dir, const std::vector<std::string>& names, int port)
    : m_watch(dir, names) {
    m_watch.open();
    const std::string token = newToken();
    m_server =
        loadHttpServer([this](const HttpRequest& request) { return m_answers->answer(request); });
    const int taken = m_server->bind(port);
    if (taken == 0)
        throw CommandError(kExitRefused, port == 0 ? "No port can be had to serve at."
                                                   : fmt::format("Port {} can't be had. Leave the "
                                                                 "port away to take a free one.",
                                                                 port));
    m_answers = std::make_unique<PageAnswers>(token, taken, m_pages);
    m_address = fmt::format("http://127.0.0.1:{}/?token={}", taken, token);
    m_thread = std::thread([this] { m_server->serve(); });
}

PageServer::~PageServer() {
    m_pages.close();
    m_server->stop();
    m_thread.join();
}

void PageServer::look() {
    if (m_pages.isWanted())
        m_pages.publish(m_watch.look());
}

}  // namespace shell
