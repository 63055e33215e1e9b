// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/installation/HUTEnv.h"

#include <climits>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

#include "environment/errors/HEXDataException.h"
#include "environment/installation/Installation.h"
#include "environment/installation/environmentVariables.h"
#include "environment/strings/HSTStringUtils.h"
#include "environment/threads/HCTMutex.h"

namespace {

using Shared = std::shared_ptr<const Installation>;

/// The installation that holds. Readers keep theirs while another is set.
class Holder {
public:
    Shared get() {
        const HCTLock lock(m_mutex);
        if (m_installation == nullptr)
            m_installation = std::make_shared<const Installation>(Installation::getDefault());
        return m_installation;
    }

    void set(const Shared& installation) {
        const HCTLock lock(m_mutex);
        m_installation = installation;
    }

private:
    HCTMutex m_mutex;
    Shared m_installation XP_GUARDED_BY(m_mutex);
};

/// Never destroyed: destructors at the end of the process still ask.
Holder& holder() {
    static Holder* const holder = std::make_unique<Holder>().release();
    return *holder;
}

/// "/" stays as it is.
void dropTrailingSeparators(std::string& folder) {
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
}

bool exists(const std::string& path) {
    struct stat ignored {};
    return stat(path.c_str(), &ignored) == 0;
}

/// The part of a version number `text` before its first dot; `text` keeps what
/// is behind it.
std::string takePart(std::string& text) {
    const std::size_t dot = text.find('.');
    std::string part = text.substr(0, dot);
    text = dot == std::string::npos ? "" : text.substr(dot + 1);
    return part;
}

struct Version {
    std::string major;
    std::string minor;
};

Version version() {
    std::string rest = holder().get()->version;
    Version version;
    version.major = takePart(rest);
    version.minor = takePart(rest);
    return version;
}

std::string systemHostName() {
    char name[HOST_NAME_MAX + 1] = "";
    if (gethostname(name, sizeof name) != 0)
        return "localhost";
    name[HOST_NAME_MAX] = '\0';
    return name;
}

}  // namespace

void HUTEnv::setInstallation(const Installation& installation) {
    Installation clean = installation;
    dropTrailingSeparators(clean.installRoot);
    dropTrailingSeparators(clean.appRoot);
    dropTrailingSeparators(clean.appDataDir);
    for (std::string& root : clean.appRoots)
        dropTrailingSeparators(root);
    holder().set(std::make_shared<const Installation>(clean));
}

Installation HUTEnv::getInstallation() {
    return *holder().get();
}

const char* HUTEnv::getEnv(const char* name) {
    return environmentVariables::current().find(name);
}

const std::string& HUTEnv::getHostName() {
    static const std::string kName = systemHostName();
    return kName;
}

std::string HUTEnv::getProgramName() {
    return holder().get()->programName;
}

std::string HUTEnv::getProductName() {
    return holder().get()->productName;
}

std::string HUTEnv::getCopyRight() {
    return holder().get()->copyright;
}

bool HUTEnv::isTarnel() {
    const Shared installation = holder().get();
    return installation->isTarnel || HSTStringUtils::iequals(installation->programName, "tarnel");
}

std::string HUTEnv::getProductMajorMinorVersion() {
    const Version parts = version();
    return parts.minor.empty() ? parts.major : parts.major + "." + parts.minor;
}

std::string HUTEnv::getMajor() {
    return version().major;
}

std::string HUTEnv::getMinor() {
    return version().minor;
}

void HUTEnv::getLoaderArgs(HSTVector<std::string>& args) {
    args = holder().get()->loaderArgs;
}

std::string HUTEnv::getMQIInstallRoot() {
    return holder().get()->installRoot;
}

std::string HUTEnv::getMQIAppRoot() {
    return holder().get()->appRoot;
}

std::string HUTEnv::getMQIAppDataDir() {
    const Shared installation = holder().get();
    if (installation->appDataDir.empty())
        throw HEXDataException(
            "There is no folder for the user's own strategies and settings. Set the variable "
            "XPERIMENT_APP_DATA_DIR to one, or let the program name one in its installation.");
    return installation->appDataDir;
}

std::string HUTEnv::getKPXAppRoot(const std::string& relPath) {
    const Shared installation = holder().get();
    const std::string tail = "/" + relPath;
    for (const std::string& root : installation->appRoots)
        if (exists(root + tail))
            return root;
    return installation->appRoots.empty() ? "" : installation->appRoots.front();
}

HSTVector<std::string> HUTEnv::getKPXAppRootList() {
    return holder().get()->appRoots;
}
