// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include <httplib.h>

#include "shell/serve/httpServer.h"

namespace shell {

namespace {

constexpr char kLoopback[] = "127.0.0.1";
constexpr int kTimeoutSec = 5;
constexpr std::size_t kThreads = 8;

/// What every answer carries: nobody keeps it, guesses its type, or shows it in a frame, and a
/// page can load nothing from elsewhere.
const httplib::Headers& safeHeaders() {
    static const httplib::Headers headers{
        {"Cache-Control", "no-store"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; "
         "img-src data: blob:; font-src data:; connect-src 'self'; base-uri 'none'; "
         "form-action 'none'; frame-ancestors 'none'"}};
    return headers;
}

std::string withoutQuotes(const std::string& tag) {
    const std::size_t first = tag.find('"');
    const std::size_t last = tag.rfind('"');
    return first == last ? tag : tag.substr(first + 1, last - first - 1);
}

class LoopbackServer {
public:
    explicit LoopbackServer(HttpHandler handler) : m_handler(std::move(handler)) {
        m_server.set_keep_alive_max_count(1);
        m_server.set_read_timeout(kTimeoutSec);
        m_server.set_write_timeout(kTimeoutSec);
        m_server.set_payload_max_length(0);
        m_server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
        m_server.set_default_headers(safeHeaders());
        // Not shared: a port that is taken can't be had.
        m_server.set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        // Before the routing: what a request carries behind its head is never read.
        m_server.set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response) {
                answer_(request, response);
                return httplib::Server::HandlerResponse::Handled;
            });
    }

    int bind(int port) {
        if (port == 0)
            return std::max(0, m_server.bind_to_any_port(kLoopback));
        return m_server.bind_to_port(kLoopback, port) ? port : 0;
    }
    void serve() {
        if (!m_isStopped)
            m_server.listen_after_bind();
        m_hasEnded = true;
    }
    void stop() {
        m_isStopped = true;
        // A server that is about to listen doesn't hear of it yet.
        while (!m_hasEnded) {
            m_server.stop();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

private:
    void answer_(const httplib::Request& request, httplib::Response& response) const {
        HttpRequest asked;
        asked.method = request.method;
        asked.path = request.path;
        asked.token = request.get_param_value("token");
        asked.host = request.get_header_value("Host");
        asked.tag = withoutQuotes(request.get_header_value("If-None-Match"));
        const HttpAnswer answer = m_handler(asked);
        response.status = answer.status;
        if (!answer.tag.empty())
            response.set_header("ETag", '"' + answer.tag + '"');
        if (answer.status == 405)
            response.set_header("Allow", "GET, HEAD");
        if (answer.body)
            response.set_content(*answer.body, answer.type);
    }

    HttpHandler m_handler;
    httplib::Server m_server;
    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> m_hasEnded{false};
};

}  // namespace

}  // namespace shell

extern "C" __attribute__((visibility("default"))) shell::HttpServer*
xpMakeHttpServer(const shell::HttpHandler* handler) {
    const auto server = std::make_shared<shell::LoopbackServer>(*handler);
    // The caller deletes it.
    return new shell::HttpServer{[server](int port) { return server->bind(port); },
                                 [server] { server->serve(); }, [server] { server->stop(); }};
}
