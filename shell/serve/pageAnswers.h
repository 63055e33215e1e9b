// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <string>

#include "shell/serve/freshPage.h"
#include "shell/serve/httpServer.h"

namespace shell {

/// What is answered to whom: the page, its data, and the logs and reports that it names, to
/// those who know the token. May be asked by several threads at once.
class PageAnswers {
public:
    /// `pages` must outlive it.
    PageAnswers(std::string token, int port, FreshPage& pages);

    HttpAnswer answer(const HttpRequest& request) const;

private:
    HttpAnswer answerKnown_(const HttpRequest& request) const;
    bool isOwnHost_(const std::string& host) const;

    std::string m_token;
    int m_port;
    FreshPage& m_pages;
};

/// A token that nobody can guess: 32 hexadecimal digits.
/// @throws CommandError the system gives no random numbers.
std::string newToken();

/// Whether the two are equal; the time it takes tells nothing about where they differ.
bool isSameSecret(const std::string& a, const std::string& b);

}  // namespace shell
