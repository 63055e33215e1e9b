// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <memory>
#include <string>

/// What of HTTP the workbench needs, apart from the library that speaks it. That one brings
/// others along which every start of xp would pay for, so it stands in a module of its own that
/// is loaded when something is served.
namespace shell {

struct HttpRequest {
    std::string method;  ///< "GET"
    std::string path;    ///< decoded, without the part behind the question mark
    std::string token;   ///< the parameter of that name
    std::string host;    ///< "127.0.0.1:8080", as the client calls this server
    std::string tag;     ///< the version that the client has; empty for none
};

struct HttpAnswer {
    int status = 200;
    std::string type = "text/plain; charset=utf-8";
    /// The version of the body, without quotes; empty for none.
    std::string tag;
    std::shared_ptr<const std::string> body;
};

/// Called on several threads at once. Throws nothing.
using HttpHandler = std::function<HttpAnswer(const HttpRequest&)>;

/// A server on this host's loopback address. A request has no body as far as it is concerned,
/// and a connection serves one. Functions and no virtual ones: program and module share no type
/// that is told at run time.
struct HttpServer {
    /// Takes `port`, or any free one for 0; the port, or 0 when it can't be had.
    std::function<int(int port)> bind;
    /// Answers until stop() is called, which may be before; threads of its own call the handler.
    std::function<void()> serve;
    /// From any thread.
    std::function<void()> stop;
};

/// A server that asks `handler`. @throws CommandError the module isn't installed.
std::unique_ptr<HttpServer> loadHttpServer(const HttpHandler& handler);

/// The module's one function, and its name; the caller deletes the server.
using MakeHttpServer = HttpServer* (*)(const HttpHandler*);
inline constexpr char kMakeHttpServer[] = "xpMakeHttpServer";

}  // namespace shell
