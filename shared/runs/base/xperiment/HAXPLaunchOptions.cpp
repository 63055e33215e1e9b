// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPLaunchOptions.h"

#include <fstream>
#include <iostream>

#include <boost/algorithm/string/trim.hpp>
#include <boost/regex.hpp>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/strings/HSTStringUtils.h"

namespace {

/// Takes a line of a map file apart; false for one that is no entry. The key goes on
/// to the last colon.
bool parseEntry(const std::string& line, std::string& key, std::string& value) {
    static const boost::regex s_entry("(.*):(.*)", boost::regex::perl);
    if (line.empty() || line.front() == '#')
        return false;
    boost::smatch groups;
    if (!boost::regex_match(line, groups, s_entry))
        return false;
    key = boost::algorithm::trim_copy(groups[1].str());
    value = boost::algorithm::trim_copy(groups[2].str());
    return true;
}

}  // namespace

void HAXPLaunchOptions::setLaunchDir(const std::string& dir) {
    m_launchDir = dir.empty() ? "." : dir;
}

void HAXPLaunchOptions::setNumJobsSH(int jobs) {
    if (jobs <= 0)
        throw HEXAlgException("# jobs must be >= 0 for exp launch");
    m_numJobsSH = jobs;
}

void HAXPLaunchOptions::addHostMH(const std::string& host, int jobs) {
    m_hostsMH.emplace_back(host, jobs);
}

int HAXPLaunchOptions::hostJobCountMH() const {
    return static_cast<int>(m_hostsMH.size());
}

HSTFwdIter<HAXPLaunchOptions::HostJobs>* HAXPLaunchOptions::createHostJobIterMH() const {
    return containers::heapIter<HostJobs>(m_hostsMH);
}

void HAXPLaunchOptions::addEmailMH(const std::string& address) {
    m_emailsMH.push_back(address);
}

int HAXPLaunchOptions::emailCountMH() const {
    return static_cast<int>(m_emailsMH.size());
}

HSTFwdIter<std::string>* HAXPLaunchOptions::createEmailIterMH() const {
    return containers::heapIter<std::string>(m_emailsMH);
}

void HAXPLaunchOptions::setUserRunScript(const std::string& path) {
    if (!HUTFile(path).exists()) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-382@%s",
                                 path);
        return;
    }
    std::ifstream file(path);
    if (!file)
        return;
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kInfo, "@36-381@%s", path);
    std::string line;
    std::string key;
    std::string value;
    while (std::getline(file, line)) {
        if (parseEntry(line, key, value))
            m_userRunScripts[key] = value;
    }
}

std::string HAXPLaunchOptions::getUserRunScript(const std::string& key) const {
    const auto found = m_userRunScripts.find(key);
    if (found == m_userRunScripts.end())
        return {};
    std::string script = found->second;
    std::cout << "User run script: " << script << std::endl;
    if (HSTStringUtils::iequals(script, "default"))
        script.clear();
    if (HUTFile(script).exists())
        return script;
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-377@%s",
                             script);
    return {};
}
