// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTVector.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrArg.h"

/// One message as a value: what a sink receives, and what an exception is
/// built from. Making one sends nothing.
///
///     throw HEXError(ComMsgMgrInstance("runs", ComMsgMgr::kError, "@36-66@%s", runDir));
class ENVIRONMENT_API ComMsgMgrInstance {
public:
    /// `format` is the id between at-signs with a "%s" or "%d" for each
    /// argument. The text is put together here, once.
    template <class... Args>
    ComMsgMgrInstance(const char* domain, ComMsgMgr::MsgMask mask, const char* format,
                      const Args&... args)
        : ComMsgMgrInstance(domain, mask, format, HSTVector<ComMsgMgrArg>{ComMsgMgrArg(args)...}) {}

    /// The same with the arguments in a list.
    ComMsgMgrInstance(const char* domain, ComMsgMgr::MsgMask mask, const char* format,
                      const HSTVector<ComMsgMgrArg>& args);

    /// The same as a function.
    struct createInstance {
        template <class... Args>
        static ComMsgMgrInstance eval(const char* domain, ComMsgMgr::MsgMask mask,
                                      const char* format, const Args&... args) {
            return ComMsgMgrInstance(domain, mask, format, args...);
        }
    };

    const std::string& getDomain() const noexcept { return m_domain; }
    ComMsgMgr::MsgMask getMask() const noexcept { return m_mask; }
    const char* getSeverityName() const noexcept { return ComMsgMgr::getSeverityName(m_mask); }

    /// The id without its at-signs, such as "36-66"; empty when the format has
    /// none.
    const std::string& getId() const noexcept { return m_id; }

    /// The catalogue's text with the arguments filled in. An id without a text
    /// gives the id and the arguments.
    const std::string& getText() const noexcept { return m_text; }

    /// Severity, id and text, as a line of a log: "ERROR [36-66] ...".
    std::string getDisplayText() const;

    /// The arguments in order, numbers in decimal.
    const HSTVector<std::string>& getArgs() const noexcept { return m_args; }

    /// Whether the id has a text, and arguments, domain and severity are those
    /// of the catalogue. False means a mistake where the message is sent.
    bool isAsCatalogued() const noexcept { return m_isAsCatalogued; }

private:
    std::string m_domain;
    ComMsgMgr::MsgMask m_mask;
    std::string m_id;
    HSTVector<std::string> m_args;
    std::string m_text;
    bool m_isAsCatalogued;
};
