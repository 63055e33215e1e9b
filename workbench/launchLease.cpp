// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/launchLease.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "environment/errors/HEXAll.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/files/diskOps.h"
#include "environment/process/processTable.h"
#include "environment/process/userName.h"
#include "environment/xml/HXMLWriterBase.h"
#include "environment/xml/xmlDocument.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/calendarTime.h"
#include "workbench/links.h"

namespace workbench {

namespace {

constexpr int kLeaseVersion = 1;
constexpr int kLeaseMinor = 2;
constexpr std::size_t kLargestLease = 64U << 10U;

/// Elements and attributes of the format, for reader and writer.
namespace leaseName {
const char kLaunch[] = "Launch";
const char kVersion[] = "Version";
const char kMinor[] = "Minor";
const char kId[] = "Id";
const char kTime[] = "Time";
const char kWaiting[] = "Waiting";
const char kKept[] = "Kept";
const char kLauncher[] = "Launcher";
const char kHost[] = "Host";
const char kOwner[] = "Owner";
const char kUid[] = "Uid";
const char kPid[] = "Pid";
const char kGroup[] = "Pgid";
const char kStartTicks[] = "StartTicks";
const char kBootId[] = "BootId";
const char kNamespace[] = "PidNamespace";
const char kWay[] = "Way";
const char kKind[] = "Kind";
const char kCommand[] = "Command";
const char kJobName[] = "JobName";
const char kTask[] = "Task";
}  // namespace leaseName

/// A whole number without sign or blanks, or 0.
unsigned long long numberOf(const xml::Element& element, const char* attribute) {
    constexpr std::string::size_type kMostDigits = 18;
    const std::string& text = element.attribute(attribute);
    if (text.empty() || text.size() > kMostDigits ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    return std::strtoull(text.c_str(), nullptr, 10);
}

long longOf(const xml::Element& element, const char* attribute) {
    return static_cast<long>(numberOf(element, attribute));
}

/// The names with blanks between them: the programs of steps hold none.
std::string blankSeparated(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

std::vector<std::string> separated(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

HUTProcessHandle ownHandle() {
    process::ProcessTable& table = process::processTable();
    HUTProcessHandle self;
    self.setHostname(table.hostName());
    self.setBootId(table.bootId());
    self.setPidNamespace(table.pidNamespace());
    self.setUser(process::userName(geteuid()));
    process::Entry entry;
    self.setPid(table.ownPid());
    if (table.look(table.ownPid(), entry)) {
        self.setUid(entry.user);
        self.setGroup(entry.group);
        self.setStartTicks(entry.startTicks);
    }
    return self;
}

void addText(HXMLWriterBase& out, const char* attribute, const std::string& value) {
    if (!value.empty())
        out.addAttr(attribute, value);
}

void writeLauncher(HXMLWriterBase& out, const HUTProcessHandle& launcher) {
    std::string text;
    launcher.getHostname(text);
    addText(out, leaseName::kHost, text);
    launcher.getUser(text);
    addText(out, leaseName::kOwner, text);
    out.addAttr(leaseName::kUid, std::to_string(launcher.getUid()));
    out.addAttr(leaseName::kPid, std::to_string(launcher.getPid()));
    out.addAttr(leaseName::kGroup, std::to_string(launcher.getGroup()));
    out.addAttr(leaseName::kStartTicks, std::to_string(launcher.getStartTicks()));
    launcher.getBootId(text);
    addText(out, leaseName::kBootId, text);
    launcher.getPidNamespace(text);
    addText(out, leaseName::kNamespace, text);
    out.wrEmptyTag(leaseName::kLauncher);
}

void readLauncher(const xml::Element& element, HUTProcessHandle& launcher) {
    launcher.setHostname(element.attribute(leaseName::kHost));
    launcher.setUser(element.attribute(leaseName::kOwner));
    launcher.setUid(longOf(element, leaseName::kUid));
    launcher.setPid(longOf(element, leaseName::kPid));
    launcher.setGroup(longOf(element, leaseName::kGroup));
    launcher.setStartTicks(numberOf(element, leaseName::kStartTicks));
    launcher.setBootId(element.attribute(leaseName::kBootId));
    launcher.setPidNamespace(element.attribute(leaseName::kNamespace));
}

class LeaseDocument final : public HXMLWriterBase {
public:
    using HXMLWriterBase::HXMLWriterBase;
    ~LeaseDocument() override = default;

    /// Of a document that isn't saved by closeDoc().
    std::string text() { return finish_(); }
};

struct WayName {
    LaunchWay::Kind kind;
    const char* name;
};

/// One that launched here has no element of its own.
const WayName kWayNames[] = {{LaunchWay::Kind::kHost, "host"},
                             {LaunchWay::Kind::kLsf, "lsf"},
                             {LaunchWay::Kind::kSge, "sge"}};

void writeWay(HXMLWriterBase& out, const LaunchWay& way) {
    for (const WayName& known : kWayNames) {
        if (known.kind != way.kind)
            continue;
        out.addAttr(leaseName::kKind, known.name);
        addText(out, leaseName::kHost, way.host);
        addText(out, leaseName::kCommand, way.command);
        addText(out, leaseName::kJobName, way.jobName);
        if (way.task != 0)
            out.addAttr(leaseName::kTask, std::to_string(way.task));
        out.wrEmptyTag(leaseName::kWay);
    }
}

/// False for a way that this version doesn't know.
bool readWay(const xml::Element* element, LaunchWay& way) {
    if (element == nullptr)
        return true;
    way.host = element->attribute(leaseName::kHost);
    way.command = element->attribute(leaseName::kCommand);
    way.jobName = element->attribute(leaseName::kJobName);
    way.task = longOf(*element, leaseName::kTask);
    for (const WayName& known : kWayNames) {
        if (element->attribute(leaseName::kKind) != known.name)
            continue;
        way.kind = known.kind;
        return true;
    }
    return false;
}

}  // namespace

LaunchLease makeLease() {
    LaunchLease lease;
    lease.id = boost::uuids::to_string(boost::uuids::random_generator()());
    lease.time = static_cast<long>(std::time(nullptr));
    lease.launcher = ownHandle();
    lease.isOwn = true;
    return lease;
}

void writeLease(const std::string& path, const LaunchLease& lease) {
    makeWayForFile(path);
    LeaseDocument out(path);
    out.addAttr(leaseName::kVersion, std::to_string(kLeaseVersion));
    out.addAttr(leaseName::kMinor, std::to_string(kLeaseMinor));
    out.addAttr(leaseName::kId, lease.id);
    out.addAttr(leaseName::kTime, std::to_string(lease.time));
    if (lease.isWaiting)
        out.addAttr(leaseName::kWaiting, "true");
    if (lease.keptSteps)
        out.addAttr(leaseName::kKept, blankSeparated(*lease.keptSteps));
    out.wrStartTag(leaseName::kLaunch);
    writeLauncher(out, lease.launcher);
    writeWay(out, lease.way);
    out.wrEndTag(leaseName::kLaunch);
    if (!lease.isWaiting) {
        out.closeDoc();
        return;
    }
    // A run waits as long as this process lives, which outlasts no power cut.
    if (HUTFileUtils::rewriteFile(path, out.text(), false))
        return;
    HUTFile(path).rm();
    throw HXMLException(path + ": it can't be written");
}

bool readLease(const std::string& path, LaunchLease& lease) {
    files::Look look;
    return readLease(path, lease, look);
}

bool readLease(const std::string& path, LaunchLease& lease, files::Look& look) {
    std::string content;
    bool isRead = files::readRegular(path, O_NOFOLLOW, kLargestLease, content, look);
    // Whoever made a link to a lease hasn't made the lease.
    const bool isOwn = isRead && look.status.st_uid == geteuid();
    if (!isRead && look.error == ELOOP)
        isRead = files::readRegular(path, 0, kLargestLease, content, look);
    if (!isRead || content.empty())
        return false;
    try {
        const xml::Document document = xml::Document::fromText(content, path);
        const xml::Element& root = document.root();
        const xml::Element* launcher = root.child(leaseName::kLauncher);
        if (root.name() != leaseName::kLaunch ||
            longOf(root, leaseName::kVersion) != kLeaseVersion ||
            root.attribute(leaseName::kId).empty() || launcher == nullptr)
            return false;
        LaunchLease read;
        read.id = root.attribute(leaseName::kId);
        read.time = longOf(root, leaseName::kTime);
        read.isWaiting = root.attribute(leaseName::kWaiting) == "true";
        if (root.hasAttribute(leaseName::kKept))
            read.keptSteps = separated(root.attribute(leaseName::kKept));
        readLauncher(*launcher, read.launcher);
        if (!readWay(root.child(leaseName::kWay), read.way))
            return false;
        read.isOwn = isOwn;
        lease = read;
        return true;
    } catch (const HEXAll&) {
        return false;
    }
}

bool readLeaseOf(const HAXPExpRun& run, LaunchLease& lease) {
    // A run that waits to be launched anew has the lease of the launch before, too.
    return readLease(run.queueMarkerPath(), lease) || readLease(run.pathOf(kLeaseName), lease);
}

std::string leaseText(const LaunchLease& lease) {
    std::string user;
    std::string host;
    lease.launcher.getUser(user);
    lease.launcher.getHostname(host);
    return "by " + (user.empty() ? "user " + std::to_string(lease.launcher.getUid()) : user) +
           " on " + host + " at " + localTime(lease.time, "%Y-%m-%d %H:%M:%S");
}

HUTProcessHandle::Life lookAtLauncher(const LaunchLease& lease) {
    // A handle says nothing of the process that asks.
    const HUTProcessHandle self = ownHandle();
    std::string host;
    std::string boot;
    lease.launcher.getHostname(host);
    lease.launcher.getBootId(boot);
    std::string ownHost;
    std::string ownBoot;
    self.getHostname(ownHost);
    self.getBootId(ownBoot);
    if (lease.launcher.getPid() != self.getPid() || host != ownHost || boot != ownBoot)
        return lease.launcher.look();
    return lease.launcher.getStartTicks() == self.getStartTicks() ? HUTProcessHandle::Life::kAlive
                                                                  : HUTProcessHandle::Life::kGone;
}

}  // namespace workbench
