// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/printRecords.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "environment/xml/HXMLWriterBase.h"
#include "environment/xml/xmlDocument.h"

namespace workbench {

namespace {

// The attributes, once for reader and writer.
const char kState[] = "State";
const char kSha1[] = "Sha1";
const char kSize[] = "Size";
const char kModified[] = "Modified";
const char kChanged[] = "Changed";
const char kInode[] = "Inode";

const char kMissing[] = "missing";
const char kUnreadable[] = "unreadable";

constexpr std::size_t kSha1Digits = 40;
constexpr std::size_t kFractionDigits = 9;

std::string timeText(const timespec& time) {
    return fmt::format("{}.{:09}", time.tv_sec, time.tv_nsec);
}

template <class Number> bool readNumber(const std::string& text, Number& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

bool takeTime(const std::string& text, timespec& time) {
    const std::size_t dot = text.find('.');
    if (dot == std::string::npos || text.size() - dot - 1 != kFractionDigits)
        return false;
    return readNumber(text.substr(0, dot), time.tv_sec) &&
           readNumber(text.substr(dot + 1), time.tv_nsec) && time.tv_nsec >= 0;
}

bool isSha1(const std::string& text) {
    return text.size() == kSha1Digits && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

/// Takes an attribute that may be absent; whether it was there.
template <class Value, class Take>
bool readIfThere(const xml::Document& document, const xml::Element& element, const char* name,
                 Value& value, Take take) {
    const std::string& text = element.attribute(name);
    if (text.empty())
        return false;
    if (!take(text, value))
        document.refuse(element, "\"" + text + "\" can't be the " + name + " of a file");
    return true;
}

}  // namespace

void writePrint(HXMLWriterBase& out, const FileFingerprint& print) {
    if (!print.isPresent()) {
        out.addAttr(kState, print.state == FileFingerprint::kMissing ? kMissing : kUnreadable);
        return;
    }
    if (!print.sha1.empty())
        out.addAttr(kSha1, print.sha1);
    out.addAttr(kSize, std::to_string(print.stamp.size));
    out.addAttr(kModified, timeText(print.stamp.modified));
    // A tool is told by its stamp alone: nothing was read that could have changed since.
    if (!print.isSettled && !print.sha1.empty())
        return;
    out.addAttr(kChanged, timeText(print.stamp.changed));
    out.addAttr(kInode, std::to_string(print.stamp.inode));
}

FileFingerprint readPrint(const xml::Document& document, const xml::Element& element) {
    FileFingerprint print;
    const std::string& state = element.attribute(kState);
    if (state == kUnreadable)
        print.state = FileFingerprint::kUnreadable;
    if (state == kMissing || state == kUnreadable)
        return print;
    if (!state.empty())
        document.refuse(element, "\"" + state + "\" is no state of a file");
    print.state = FileFingerprint::kPresent;
    readIfThere(document, element, kSha1, print.sha1, [](const std::string& text, auto& value) {
        value = text;
        return isSha1(text);
    });
    readIfThere(document, element, kSize, print.stamp.size, readNumber<std::uint64_t>);
    readIfThere(document, element, kModified, print.stamp.modified, takeTime);
    const bool hasTime = readIfThere(document, element, kChanged, print.stamp.changed, takeTime);
    const bool hasInode =
        readIfThere(document, element, kInode, print.stamp.inode, readNumber<std::uint64_t>);
    print.isSettled = hasTime && hasInode && !print.sha1.empty();
    return print;
}

}  // namespace workbench
