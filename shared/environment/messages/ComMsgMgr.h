// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTVector.h"
#include "environment/messages/ComMsgMgrArg.h"

class ComMsgMgrInstance;
class ComMsgMgrSink;
class ComMsgMgrSrcHandle;

/// Where messages go out.
///
/// A message is an id of the catalogue with arguments:
///
///     ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError,
///                              "@36-66@%s", runDir);
///
/// Its text comes from the catalogue; the build fails when an id has no text,
/// or when arguments, domain or severity differ from what the catalogue says.
/// Write domain, severity and format as literals side by side in the call: the
/// check reads them there.
///
/// A message goes to every sink that is plugged in, and nowhere else: with no
/// sink it is dropped. The embedding program plugs its sinks in first of all.
/// All operations may be called from any thread.
class ENVIRONMENT_API ComMsgMgr {
public:
    ComMsgMgr() = delete;

    /// Severities, in rising order.
    enum MsgMask {
        kInfo = 0x4000000,
        kWarning = 0x8000000,
        kCriticalWarning = 0x10000000,
        kError = 0x20000000
    };

    /// Sends a message to the sinks. Each argument is a text for a "%s" of
    /// `format`, or a whole number for a "%d". Arguments that don't fit the
    /// format still give a readable text. What a sink throws is dropped here.
    ///
    /// `ordinal` is handed to the sinks as it is; `file` and `line` are the
    /// place in the sources.
    struct sendMsg {
        template <class... Args>
        static void eval(int ordinal, const char* file, int line, const char* domain, MsgMask mask,
                         const char* format, const Args&... args) {
            send_(ordinal, file, line, domain, mask, format,
                  HSTVector<ComMsgMgrArg>{ComMsgMgrArg(args)...});
        }
    };

    /// Sends a message that exists already, as sendMsg does.
    static void send(const ComMsgMgrInstance& message, int ordinal = 0, const char* file = "",
                     int line = 0);

    /// "INFO", "WARNING", "CRITICAL WARNING" or "ERROR". A value between two
    /// severities counts as the lower one.
    static const char* getSeverityName(MsgMask mask) noexcept;

    /// Plugs a sink in, behind those that are there. Null, and a sink that is
    /// plugged in already, change nothing.
    static void addSink(const std::shared_ptr<ComMsgMgrSink>& sink);

    /// Unplugs a sink. A message that another thread is sending right now may
    /// still reach it; the sink lives until that is done. A stranger changes
    /// nothing.
    static void removeSink(const std::shared_ptr<ComMsgMgrSink>& sink);

    /// Reads the file of messages that a step leaves behind, under the name
    /// `name`. Every line is a message or, when it begins with a blank, goes on
    /// with the message above:
    ///
    ///     WARNING [8-3331] The signal reset isn't driven.
    ///
    /// The id may be left out; other lines are passed over. A file that can't
    /// be read gives a warning and a handle without a file, so that a later
    /// call tries again. Never throws for what the file holds.
    static ComMsgMgrSrcHandle loadMsgSrc(const std::string& path, const std::string& name);

    /// Lets go of the messages; the handle keeps its name and has no file any
    /// more. A handle without a file stays as it is.
    static void unloadMsgSrc(ComMsgMgrSrcHandle& handle) noexcept;

private:
    static void send_(int ordinal, const char* file, int line, const char* domain, MsgMask mask,
                      const char* format, const HSTVector<ComMsgMgrArg>& args);
};
