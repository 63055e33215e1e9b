// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/stratFiles.h"

#include <cstddef>
#include <exception>
#include <memory>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/path.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/files/diskOps.h"
#include "environment/installation/HUTEnv.h"
#include "environment/installation/Installation.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/strings/HSTStringUtils.h"

namespace xperiment {

namespace {

constexpr char kExtension[] = ".psg";
constexpr char kAsidePrefix[] = ".renamed.";
constexpr std::size_t kAsidePrefixSize = sizeof kAsidePrefix - 1;

/// Data of versions before 2019 isn't taken over.
constexpr int kLastForeignMajor = 2018;

struct Version {
    int major = 0;
    int minor = 0;
};

std::string join(const std::string& folder, const std::string& name) {
    return folder + HUTFile::getDirSeparator() + name;
}

/// The folder that a file stands in, and its name there.
struct SplitPath {
    explicit SplitPath(const boost::filesystem::path& path)
        : folder(path.parent_path().string()), name(path.filename().string()) {}

    std::string folder;
    std::string name;
};

bool readNumbers(const std::string& major, const std::string& minor, Version& version) {
    try {
        version = {std::stoi(major), std::stoi(minor)};
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// The version that a directory name such as "2023.2" begins with.
bool versionOfName(const std::string& name, Version& version) {
    std::vector<std::string> pieces;
    boost::split(pieces, name, boost::is_any_of("."));
    return pieces.size() >= 2 && readNumbers(pieces[0], pieces[1], version) &&
           version.major != -1 && version.minor != -1;
}

bool isOlder(const Version& version, const Version& running) {
    return version.major < running.major ||
           (version.major == running.major && version.minor < running.minor);
}

bool moveFile(const std::string& from, const std::string& to) {
    return !HUTFile::exists(to) && files::disk().rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace

const std::string& StratFolders::global() {
    if (m_global.empty())
        m_global = join(HUTEnv::getMQIInstallRoot(), m_name);
    return m_global;
}

const std::string& StratFolders::release() {
    if (m_release.empty())
        m_release = m_name;
    return m_release;
}

const std::string& StratFolders::personal() {
    if (m_personal.empty()) {
        m_personal =
            join(join(HUTEnv::getMQIAppDataDir(), HUTEnv::getProductMajorMinorVersion()), m_name);
        HUTFile(m_personal).mkDirRecursive();
    }
    return m_personal;
}

const std::string& StratFolders::userGlobal() {
    if (m_userGlobal.empty()) {
        m_userGlobal = join(HUTEnv::getMQIAppDataDir(), m_name);
        HUTFile(m_userGlobal).mkDirRecursive();
    }
    return m_userGlobal;
}

bool hasUserFolder() {
    return !HUTEnv::getInstallation().appDataDir.empty();
}

void findPreviousDataDirs(std::vector<std::string>& dirs) {
    dirs.clear();
    Version running;
    if (!hasUserFolder() || !readNumbers(HUTEnv::getMajor(), HUTEnv::getMinor(), running))
        return;
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(
        HUTFile(HUTEnv::getMQIAppDataDir()).createFileIter());
    while (entries->hasNext()) {
        const HUTFile entry = entries->next();
        std::string name;
        entry.getName(name);
        Version version;
        if (!entry.isDir() || !versionOfName(name, version) || version.major <= kLastForeignMajor ||
            !isOlder(version, running))
            continue;
        dirs.emplace_back();
        entry.getFullPath(dirs.back());
    }
}

std::string strategyPath(const std::string& folder, const std::string& name,
                         const std::string& flowId, int number) {
    std::string tail;
    if (number > 1) {
        HSTStringUtils::constructFromInt(tail, number);
        tail.insert(0, "_");
    }
    return join(folder, name + tail + "." + flowId + kExtension);
}

void tellUnreadableFolder(const std::string& folder) {
    boost::system::error_code error;
    const boost::filesystem::directory_iterator entries(folder, error);
    if (error)
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-561@%s%s",
                                 folder, error.message());
}

void StratBackups::leave(const std::string& path) {
    const auto noted = m_notes.find(path);
    if (noted == m_notes.end())
        return;
    if (noted->second.isBroken)
        keep(path);
    else
        m_notes.erase(noted);
}

void StratBackups::keep(const std::string& path) {
    // A strategy file that was read is no larger.
    constexpr std::size_t kMaxBytes = std::size_t{16} << 20U;
    const auto noted = m_notes.find(path);
    if (noted == m_notes.end())
        return;
    std::string content;
    std::string reason;
    if (HUTFile::exists(path)) {
        if (!HUTFileUtils::readFile(path, kMaxBytes, content, reason))
            throw HXMLException("Can't keep a copy of " + reason + ". The file is as it was.");
        const std::string backup = path + ".bak-" + noted->second.version;
        std::string target = backup;
        try {
            for (int number = 2; !HUTFileUtils::createFile(target, content); ++number)
                target = backup + "_" + std::to_string(number);
        } catch (const HEXUserException& error) {
            throw HXMLException(error.what());
        }
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kInfo, "@36-560@%s%s",
                                 path, target);
    }
    m_notes.erase(noted);
}

AsideFile::AsideFile(const std::string& path) : m_path(path) {
    if (path.empty())
        return;
    const SplitPath split(path);
    const std::string aside = join(split.folder, kAsidePrefix + split.name);
    if (moveFile(path, aside))
        m_aside = aside;
}

void AsideFile::putBack() {
    if (!m_aside.empty() && moveFile(m_aside, m_path))
        m_aside.clear();
}

void AsideFile::remove() {
    HUTFile(m_aside.empty() ? m_path : m_aside).rm();
}

std::string AsideFile::recovered(const std::string& path) {
    if (path.find(kAsidePrefix) == std::string::npos)
        return path;
    const SplitPath split(path);
    if (split.name.compare(0, kAsidePrefixSize, kAsidePrefix) != 0)
        return path;
    const std::string place = join(split.folder, split.name.substr(kAsidePrefixSize));
    return moveFile(path, place) ? place : path;
}

}  // namespace xperiment
