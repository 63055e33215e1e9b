// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

/// What the readers of texts share.
namespace reports {

inline bool startsWith(const std::string& text, const std::string& start) {
    return text.rfind(start, 0) == 0;
}

/// Whether `text` is longer than `end` and ends with it.
inline bool endsWith(const std::string& text, const std::string& end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Tells why a text is refused; false, for the reader to hand on.
inline bool refuse(std::string& reason, const std::string& why) {
    reason = why;
    return false;
}

}  // namespace reports
