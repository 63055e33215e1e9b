// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/serve/pageAnswers.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <sys/random.h>

#include "environment/files/HUTFileUtils.h"
#include "shell/exitStatus.h"
#include "shell/logTail.h"
#include "shell/startsWith.h"

namespace shell {

namespace {

constexpr std::size_t kTokenBytes = 16;
constexpr std::size_t kLargestFile = std::size_t{16} << 20;
/// Of a longer log the last lines are shown.
constexpr std::size_t kMostServedLines = 50000;
const char kHtml[] = "text/html; charset=utf-8";
const char kJson[] = "application/json";

HttpAnswer textAnswer(int status, std::string text) {
    HttpAnswer answer;
    answer.status = status;
    answer.body = std::make_shared<const std::string>(std::move(text));
    return answer;
}

HttpAnswer refusal() {
    HttpAnswer answer =
        textAnswer(403, "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
                        "<title>Token missing</title></head><body><h1>Token missing</h1>"
                        "<p>This page is for who started it. Open the whole address that "
                        "<code>xp serve</code> printed, with its token: "
                        "<code>http://127.0.0.1:PORT/?token=...</code></p></body></html>\n");
    answer.type = kHtml;
    return answer;
}

HttpAnswer notFound() {
    return textAnswer(404, "There is no such page, run or report here.\n");
}

/// `body`, unless the client has it.
HttpAnswer versioned(const HttpRequest& request, const std::string& tag, const char* type,
                     const std::shared_ptr<const std::string>& body) {
    HttpAnswer answer;
    answer.tag = tag;
    answer.type = type;
    if (request.tag == tag)
        answer.status = 304;
    else
        answer.body = body;
    return answer;
}

HttpAnswer logAnswer(const PageSnapshot& page, const std::string& run) {
    const auto found = page.logs.find(run);
    if (found == page.logs.end())
        return notFound();
    std::string reason;
    std::string text;
    for (const std::string& line : lastLines(found->second, kMostServedLines, reason))
        text += line + "\n";
    return reason.empty() ? textAnswer(200, std::move(text))
                          : textAnswer(404, "The log can't be read: " + reason + "\n");
}

HttpAnswer reportAnswer(const PageSnapshot& page, const std::string& name) {
    const std::size_t slash = name.find('/');
    const auto found = slash == std::string::npos
                           ? page.reports.end()
                           : page.reports.find({name.substr(0, slash), name.substr(slash + 1)});
    if (found == page.reports.end())
        return notFound();
    std::string reason;
    std::string text;
    if (!HUTFileUtils::readFile(found->second, kLargestFile, text, reason))
        return textAnswer(404, "The report can't be read: " + reason + "\n");
    return textAnswer(200, std::move(text));
}

}  // namespace

PageAnswers::PageAnswers(std::string token, int port, FreshPage& pages)
    : m_token(std::move(token)), m_port(port), m_pages(pages) {}

HttpAnswer PageAnswers::answer(const HttpRequest& request) const {
    // A page from elsewhere whose name leads to this host calls it by that name.
    if (!isOwnHost_(request.host))
        return textAnswer(403, "This server answers by the name 127.0.0.1 or localhost alone.\n");
    if (!isSameSecret(request.token, m_token))
        return refusal();
    if (request.method != "GET" && request.method != "HEAD")
        return textAnswer(405, "This server is for reading.\n");
    return answerKnown_(request);
}

HttpAnswer PageAnswers::answerKnown_(const HttpRequest& request) const {
    const bool isPage = request.path == "/";
    const bool isData = request.path == "/data.json";
    const bool isLog = startsWith(request.path, "/log/");
    const bool isReport = startsWith(request.path, "/report/");
    if (!isPage && !isData && !isLog && !isReport)
        return notFound();
    const FreshPage::Snapshot page = m_pages.get();
    if (page == nullptr || !page->trouble.empty())
        return textAnswer(503, (page == nullptr ? "The project was not looked at yet; try again."
                                                : page->trouble) +
                                   std::string("\n"));
    if (isPage)
        return versioned(request, page->tag, kHtml, page->page);
    if (isData)
        return versioned(request, page->tag, kJson, page->data);
    if (isLog)
        return logAnswer(*page, request.path.substr(std::strlen("/log/")));
    return reportAnswer(*page, request.path.substr(std::strlen("/report/")));
}

bool PageAnswers::isOwnHost_(const std::string& host) const {
    return host == fmt::format("127.0.0.1:{}", m_port) ||
           host == fmt::format("localhost:{}", m_port);
}

std::string newToken() {
    unsigned char bytes[kTokenBytes];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        throw CommandError(kExitRefused,
                           fmt::format("The system gives no random numbers: {}. Without a secret "
                                       "token nothing is served.",
                                       std::strerror(errno)));
    std::string token;
    for (const unsigned char byte : bytes)
        token += fmt::format("{:02x}", byte);
    return token;
}

bool isSameSecret(const std::string& a, const std::string& b) {
    unsigned difference = a.size() == b.size() ? 0U : 1U;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i]) ^
                      static_cast<unsigned>(static_cast<unsigned char>(b[i % (b.size() + 1)]));
    return difference == 0;
}

}  // namespace shell
