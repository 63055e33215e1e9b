// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <utility>

#include <fmt/format.h>

#include "environment/messages/ComMsgMgrTerminalSink.h"

/// What xp tells beside its data, on standard error.
namespace shell {

/// For the whole program: nobody wants notes and progress.
void setQuiet(bool isQuiet);
bool isQuiet();

/// A line for people: what was done, what to do next. Nothing when all is to be quiet.
void sayNote(const std::string& text);

/// sayNote() of a text with values.
template <class... Args> void note(fmt::format_string<Args...> format, Args&&... args) {
    sayNote(fmt::format(format, std::forward<Args>(args)...));
}

/// Tells what went wrong, in the form of every error, quiet or not. What a terminal would
/// take as a command is escaped.
void tellError(const std::string& text);
/// The same for what goes on in spite of it.
void tellWarning(const std::string& text);

/// The library's messages on standard error; those that only inform are notes.
class NoteSink final : public ComMsgMgrTerminalSink {
public:
    ~NoteSink() override;
    void receive(const ComMsgMgrInstance& message, const ComMsgMgrOrigin& origin) override;
};

/// Brings out what was printed so far, for who has more to do behind it. @throws
/// std::system_error it can't be written; runCommandLine() knows what to say.
void flushOutput();

}  // namespace shell
