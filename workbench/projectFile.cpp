// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/projectFile.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXError.h"
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HUTConvert.h"
#include "environment/xml/HXMLWriterBase.h"
#include "environment/xml/xmlDocument.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/cluster/gridKill.h"
#include "workbench/entryRules.h"
#include "workbench/fileFingerprint.h"
#include "workbench/links.h"
#include "workbench/optionText.h"
#include "workbench/ownFolder.h"
#include "workbench/printRecords.h"
#include "workbench/projectEntry.h"
#include "workbench/projectNames.h"
#include "workbench/reportRecords.h"
#include "workbench/strategies.h"
#include "workbench/toolStamps.h"

namespace {

constexpr int kVersion = 1;
constexpr int kMinor = 3;

/// Records of launches that the project file doesn't hold yet.
constexpr char kRecordFolder[] = "launching";
constexpr char kRecordEnd[] = ".xml";
constexpr int kMostTries = 3;

/// Elements and attributes of the format, for reader and writer.
namespace projectName {
const char kProject[] = "Project";
const char kVersion[] = "Version";
const char kMinor[] = "Minor";
const char kName[] = "Name";
const char kBase[] = "Base";
const char kTop[] = "Top";
const char kDevice[] = "Device";
const char kPackage[] = "Package";
const char kFrequency[] = "FrequencyMhz";
const char kSource[] = "Source";
const char kConstraints[] = "Constraints";
const char kInclude[] = "IncludeDir";
const char kDefine[] = "Define";
const char kPath[] = "Path";
const char kText[] = "Text";
const char kRun[] = "Run";
const char kFlow[] = "Flow";
const char kSynthesis[] = "Synthesis";
const char kStrategy[] = "Strategy";
const char kDescription[] = "Description";
const char kDir[] = "Dir";
const char kToStep[] = "ToStep";
const char kSweep[] = "Sweep";
const char kFamily[] = "Family";
const char kOption[] = "Option";
const char kId[] = "Id";
const char kValue[] = "Value";
const char kLaunch[] = "Launch";
const char kTime[] = "Time";
const char kInput[] = "Input";
const char kKind[] = "Kind";
const char kTool[] = "Tool";
const char kReports[] = "Reports";
const char kReport[] = "Report";
const char kStep[] = "Step";
const char kCommand[] = "Command";
const char kDisplayName[] = "DisplayName";
const char kFile[] = "File";
const char kEnabled[] = "Enabled";
const char kBeforeStep[] = "BeforeStep";
const char kStaleOption[] = "StaleOption";
const char kCluster[] = "Cluster";
const char kLaunchValue[] = "LaunchValue";
}  // namespace projectName

using EntryIter = std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>>;

/// The groups of a strategy whose values stand in the file: options, and the attributes
/// that a user may set.
std::vector<HATOptGroup*> groupsOf(const HAXPStrategy& strategy) {
    std::vector<HATOptGroup*> groups;
    const EntryIter entries(strategy.createFlowStepOptionsIter());
    while (entries->hasNext()) {
        const HAXPFlowStepOptions* entry = entries->next();
        groups.push_back(entry->getOptions());
        groups.push_back(entry->getAttrs());
    }
    return groups;
}

/// In the file an option is called by its step and its database id.
std::string fileId(const HATOptGroup& group, const HATAttrSpec& spec) {
    return group.getOptGrpId() + "/" + group.getOptionsSpec()->getDbId(&spec);
}

void writeOptions(HXMLWriterBase& out, const HAXPStrategy& strategy) {
    for (const HATOptGroup* group : groupsOf(strategy)) {
        for (const auto& spec : group->getOptionsSpec()->getAttrSpecs()) {
            if (spec->isReadOnly() || !group->isSet(spec.get()))
                continue;
            out.addAttr(projectName::kId, fileId(*group, *spec));
            out.addAttr(projectName::kValue, workbench::optionText(*group, *spec));
            out.wrEmptyTag(projectName::kOption);
        }
    }
}

/// What a user can't type in can't come in by the file either: `check` throws what
/// becomes an error at `element`.
template <class Check>
void requireEntry(const xml::Document& document, const xml::Element& element, Check check) {
    try {
        check();
    } catch (const HEXUserException& error) {
        document.refuse(element, error.what());
    }
}

/// The option of `strategy` that the file calls `id`, and its group; null when there is
/// none.
std::pair<HATOptGroup*, const HATAttrSpec*> optionWithId(const HAXPStrategy& strategy,
                                                         const std::string& id) {
    for (HATOptGroup* group : groupsOf(strategy)) {
        for (const auto& spec : group->getOptionsSpec()->getAttrSpecs()) {
            if (fileId(*group, *spec) == id)
                return {group, spec.get()};
        }
    }
    return {nullptr, nullptr};
}

void readOption(const xml::Document& document, const xml::Element& element,
                const HAXPStrategy& strategy) {
    const std::string& id = element.attribute(projectName::kId);
    const std::string& value = element.attribute(projectName::kValue);
    const auto option = optionWithId(strategy, id);
    if (option.first == nullptr)
        document.refuse(element, "there is no option " + id);
    requireEntry(document, element, [&] { workbench::requireOptionText(id, value); });
    std::string reason;
    if (!workbench::setOptionText(*option.first, *option.second, value, reason))
        document.refuse(element, "option " + id + ": " + reason);
}

void readOptions(const xml::Document& document, const xml::Element& parent,
                 const HAXPStrategy& strategy) {
    for (const xml::Element& child : parent.children()) {
        if (child.name() == projectName::kOption)
            readOption(document, child, strategy);
    }
}

long readTime(const xml::Document& document, const xml::Element& element) {
    const std::string& text = element.attribute(projectName::kTime);
    long seconds = 0;
    try {
        std::size_t used = 0;
        seconds = std::stol(text, &used);
        if (used != text.size() || seconds <= 0)
            seconds = 0;
    } catch (const std::exception&) {
        seconds = 0;
    }
    if (seconds == 0)
        document.refuse(element, "\"" + text + "\" is no launch time");
    return seconds;
}

/// A number from 0 on; 0 when there is none.
std::int32_t readVersionPart(const xml::Document& document, const xml::Element& element,
                             const char* attribute) {
    const std::string& text = element.attribute(attribute);
    int value = 0;
    if (!text.empty() && (!HUTConvert::stringToInteger(text, value) || value < 0))
        document.refuse(element, "\"" + text + "\" is no version of a report");
    return value;
}

/// "true" and "false"; `absent` when there is no such attribute.
bool readBool(const xml::Document& document, const xml::Element& element, const char* attribute,
              bool absent) {
    const std::string& text = element.attribute(attribute);
    if (!text.empty() && text != "true" && text != "false")
        document.refuse(element, "\"" + text + "\" is neither true nor false");
    return text.empty() ? absent : text == "true";
}

/// A name that becomes part of a file name in the run directory, so it stays in there.
const std::string& readFileName(const xml::Document& document, const xml::Element& element,
                                const char* attribute) {
    const std::string& text = element.attribute(attribute);
    requireEntry(document, element, [&] { workbench::requireReportFile(text); });
    return text;
}

bool isReportFile(const std::string& file) {
    const std::string ending = ".rpt";
    return file.size() > ending.size() &&
           file.compare(file.size() - ending.size(), ending.size(), ending) == 0;
}

workbench::ReportRecord readReport(const xml::Document& document, const xml::Element& element) {
    workbench::ReportRecord record;
    record.name = readFileName(document, element, projectName::kName);
    if (record.name.empty())
        document.refuse(element, "there is a report without a name");
    record.stepId = element.attribute(projectName::kStep);
    record.command = element.attribute(projectName::kCommand);
    record.version = {readVersionPart(document, element, projectName::kVersion),
                      readVersionPart(document, element, projectName::kMinor)};
    record.displayName = element.attribute(projectName::kDisplayName);
    record.file = readFileName(document, element, projectName::kFile);
    // A report takes its file away with it, so it must not be that of a result.
    if (!record.file.empty() && !isReportFile(record.file))
        document.refuse(element, "the file \"" + record.file + "\" of a report has no .rpt");
    record.enabled = readBool(document, element, projectName::kEnabled, true);
    record.beforeStep = readBool(document, element, projectName::kBeforeStep, false);
    for (const xml::Element& child : element.children()) {
        const std::string& option = child.attribute(projectName::kId);
        const std::string& value = child.attribute(projectName::kValue);
        if (child.name() == projectName::kOption) {
            requireEntry(document, child, [&] { workbench::requireReportOption(option, value); });
            record.options.push_back({option, value});
        } else if (child.name() == projectName::kStaleOption) {
            record.staleOptions.push_back(
                {option, child.attribute(projectName::kLaunchValue), value});
        }
    }
    return record;
}

void writePath(HXMLWriterBase& out, const char* element, const std::string& path) {
    out.addAttr(projectName::kPath, path);
    out.wrEmptyTag(element);
}

void addIfSet(HXMLWriterBase& out, const char* attribute, const std::string& value) {
    if (!value.empty())
        out.addAttr(attribute, value);
}

void writeReport(HXMLWriterBase& out, const workbench::ReportRecord& record) {
    out.addAttr(projectName::kName, record.name);
    out.addAttr(projectName::kStep, record.stepId);
    out.addAttr(projectName::kCommand, record.command);
    out.addAttr(projectName::kVersion, std::to_string(record.version.major));
    out.addAttr(projectName::kMinor, std::to_string(record.version.minor));
    addIfSet(out, projectName::kDisplayName, record.displayName);
    addIfSet(out, projectName::kFile, record.file);
    if (!record.enabled)
        out.addAttr(projectName::kEnabled, "false");
    if (record.beforeStep)
        out.addAttr(projectName::kBeforeStep, "true");
    out.wrStartTag(projectName::kReport);
    for (const workbench::ReportOptionRecord& option : record.options) {
        out.addAttr(projectName::kId, option.name);
        out.addAttr(projectName::kValue, option.value);
        out.wrEmptyTag(projectName::kOption);
    }
    for (const workbench::StaleOptionRecord& option : record.staleOptions) {
        out.addAttr(projectName::kId, option.name);
        out.addAttr(projectName::kLaunchValue, option.launchValue);
        out.addAttr(projectName::kValue, option.value);
        out.wrEmptyTag(projectName::kStaleOption);
    }
    out.wrEndTag(projectName::kReport);
}

void writeReports(HXMLWriterBase& out, const HAXPExpRun& run,
                  const std::vector<workbench::ReportRecord>& lost) {
    std::vector<workbench::ReportRecord> records = workbench::recordReports(run);
    records.insert(records.end(), lost.begin(), lost.end());
    if (records.empty() && run.getReportStrategyName().empty())
        return;
    out.addAttr(projectName::kStrategy, run.getReportStrategyName());
    out.wrStartTag(projectName::kReports);
    for (const workbench::ReportRecord& record : records)
        writeReport(out, record);
    out.wrEndTag(projectName::kReports);
}

void writeTools(HXMLWriterBase& out, const OpenRunInfo& info) {
    for (const auto& [tool, stamp] : info.getLaunchedTools()) {
        out.addAttr(projectName::kName, tool);
        out.addAttr(projectName::kPath, stamp.path);
        workbench::writePrint(out, stamp.print);
        out.wrEmptyTag(projectName::kTool);
    }
}

void readCluster(const xml::Element& launch, OpenRunInfo& info) {
    const std::string& conf = launch.attribute(projectName::kCluster);
    info.setClusterConfigurationName(conf, false);
    if (conf == cluster::kSgeConfName)
        cluster::enableGridKills();
}

workbench::ToolStamps readTools(const xml::Document& document, const xml::Element& launch) {
    workbench::ToolStamps tools;
    for (const xml::Element& child : launch.children()) {
        if (child.name() == projectName::kTool)
            tools[child.attribute(projectName::kName)] = {child.attribute(projectName::kPath),
                                                          workbench::readPrint(document, child)};
    }
    return tools;
}

/// Whether `path` is a folder directly in `parent`, by its text. A reset removes what a
/// run left: a file from a stranger must not say where.
bool isFolderIn(const std::string& parent, const std::string& path) {
    const std::string start = parent + "/";
    if (path.compare(0, start.size(), start) != 0)
        return false;
    const std::string name = path.substr(start.size());
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

}  // namespace

workbench::ProjectNames workbench::readProjectNames(const std::string& dir) {
    const xml::Document document =
        xml::Document::fromFile(Project::findDir(dir) + "/" + Project::kFileName);
    ProjectNames names;
    for (const xml::Element& element : document.root().children()) {
        if (element.name() != projectName::kRun)
            continue;
        ProjectNames::Run run;
        run.name = element.attribute(projectName::kName);
        run.isSynthesis = element.attribute(projectName::kSynthesis).empty();
        run.sweep = element.attribute(projectName::kSweep);
        run.family = element.attribute(projectName::kFamily);
        if (const xml::Element* reports = element.child(projectName::kReports)) {
            for (const xml::Element& report : reports->children())
                run.reports.push_back(report.attribute(projectName::kCommand));
        }
        names.runs.push_back(std::move(run));
    }
    return names;
}

ProjectFile::ProjectFile(Project& project) : m_project(project) {}

void ProjectFile::read() {
    try {
        const xml::Document document = readWithRecords_();
        checkVersion_(document);
        readDocument_(document);
    } catch (const HXMLException& error) {
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-12@%s%s",
                                                 path_(), error.what()));
    }
}

/// A save takes the records in and then removes them: who reads meanwhile looks again.
xml::Document ProjectFile::readWithRecords_() {
    for (int tries = 0; hasRecords_() && tries < kMostTries; ++tries) {
        const std::string base = workbench::readFingerprint(path_()).sha1;
        xml::Document document = xml::Document::fromFile(path_());
        readRecords_(base);
        if (workbench::readFingerprint(path_()).sha1 == base)
            return document;
    }
    m_records.clear();
    return xml::Document::fromFile(path_());
}

/// What a link leads to isn't this project's.
bool ProjectFile::hasRecords_() const {
    const std::string dir = recordDir_();
    return !workbench::isLink(workbench::ownFolder(m_project.m_dir)) && !workbench::isLink(dir) &&
           HUTFile(dir).isDir();
}

/// One that is damaged, or of another project file, says nothing.
void ProjectFile::readRecords_(const std::string& base) {
    m_records.clear();
    const std::unique_ptr<HSTFwdIter<HUTFile>> files(HUTFile(recordDir_()).createFileIter());
    while (files->hasNext()) {
        std::string file;
        files->next().getName(file);
        if (file.front() == '.')
            continue;
        try {
            xml::Document record = xml::Document::fromFile(recordDir_() + "/" + file);
            const std::string run = record.root().attribute(projectName::kName);
            if (record.root().name() == projectName::kRun &&
                record.root().attribute(projectName::kBase) == base && file == run + kRecordEnd)
                m_records.emplace(run, std::move(record));
        } catch (const HXMLException&) {
            continue;
        }
    }
}

void ProjectFile::writeRecord(const Project::Entry& entry, const std::string& base) const {
    const std::string dir = recordDir_();
    if (!workbench::makeOwnFolder(m_project.m_dir) || workbench::isLink(dir) ||
        !HUTFile(dir).mkDir())
        throw HXMLException("the folder " + dir + " can't be made");
    const std::string path = dir + "/" + entry.run->getName() + kRecordEnd;
    workbench::makeWayForFile(path);
    HXMLWriterBase out(path);
    out.addAttr(projectName::kBase, base);
    writeRun_(out, entry);
    out.closeDoc();
}

void ProjectFile::dropRecords_() const {
    if (hasRecords_())
        HUTFileUtils::removeBelow(workbench::ownFolder(m_project.m_dir), kRecordFolder);
}

void ProjectFile::write() const {
    HXMLWriterBase out(path_());
    const DesignInputs& inputs = m_project.m_inputs;
    out.addAttr(projectName::kVersion, std::to_string(kVersion));
    out.addAttr(projectName::kMinor, std::to_string(kMinor));
    out.addAttr(projectName::kName, m_project.m_name);
    out.addAttr(projectName::kTop, inputs.top);
    out.addAttr(projectName::kDevice, inputs.device);
    out.addAttr(projectName::kPackage, inputs.package);
    out.addAttr(projectName::kFrequency, inputs.frequencyMhz);
    out.wrStartTag(projectName::kProject);
    for (const std::string& source : inputs.sources)
        writePath(out, projectName::kSource, relative_(source));
    if (!inputs.constraints.empty())
        writePath(out, projectName::kConstraints, relative_(inputs.constraints));
    for (const std::string& dir : inputs.includeDirs)
        writePath(out, projectName::kInclude, relative_(dir));
    for (const std::string& define : inputs.defines) {
        out.addAttr(projectName::kText, define);
        out.wrEmptyTag(projectName::kDefine);
    }
    for (const auto& entry : m_project.m_entries)
        writeRun_(out, *entry);
    out.wrEndTag(projectName::kProject);
    out.closeDoc();
    dropRecords_();
}

void ProjectFile::writeRunAlone(const std::string& path, const std::string& root,
                                const std::vector<std::pair<std::string, std::string>>& attributes,
                                const HAXPExpRun& run) const {
    HXMLWriterBase out(path);
    for (const auto& attribute : attributes)
        out.addAttr(attribute.first, attribute.second);
    out.wrStartTag(root);
    writeRun_(out, m_project.entryOf_(run));
    out.wrEndTag(root);
    out.closeDoc();
}

void ProjectFile::readRunAlone(const xml::Document& document) {
    exchangeRun_(document, true);
    HAXPExpRun& run =
        m_project.getRun(document.root().child(projectName::kRun)->attribute(projectName::kName));
    m_project.tellDependants(run);
    run.updateRun();
}

void ProjectFile::requireRunAlone(const xml::Document& document) {
    exchangeRun_(document, false);
}

/// Reads the run of `document` into the place of the one of its name; unless it `stays` that
/// one comes back.
void ProjectFile::exchangeRun_(const xml::Document& document, bool stays) {
    auto& entries = m_project.m_entries;
    const xml::Element* element = document.root().child(projectName::kRun);
    if (element == nullptr)
        document.refuse(document.root(), "there is no run");
    const auto found = std::find_if(entries.begin(), entries.end(), [element](const auto& entry) {
        return entry->run->getName() == element->attribute(projectName::kName);
    });
    const auto place = found - entries.begin();
    const bool isThere = found != entries.end();
    std::unique_ptr<Project::Entry> before;
    if (isThere) {
        before = std::move(*found);
        entries.erase(found);
    }
    const std::size_t count = entries.size();
    const auto putBack = [&] {
        entries.resize(count);
        if (before)
            entries.insert(entries.begin() + place, std::move(before));
    };
    try {
        readRun_(document, *element);
    } catch (...) {
        putBack();
        throw;
    }
    if (!stays)
        putBack();
    else if (isThere)
        std::rotate(entries.begin() + place, entries.end() - 1, entries.end());
}

std::string ProjectFile::directoryOf(const xml::Document& document) const {
    const xml::Element* element = document.root().child(projectName::kRun);
    return element == nullptr ? std::string() : absolute_(element->attribute(projectName::kDir));
}

bool ProjectFile::isRunDirectory(const std::string& dir) const {
    return isFolderIn(m_project.getRunsDir(), dir);
}

void ProjectFile::readDocument_(const xml::Document& document) {
    const xml::Element& root = document.root();
    readDesign_(root);
    requireEntry(document, root, [this] { workbench::requireInputs(m_project.m_inputs); });
    for (const xml::Element& child : root.children()) {
        if (child.name() != projectName::kRun)
            continue;
        if (!readRecordOf_(child.attribute(projectName::kName)))
            readRun_(document, child);
    }
}

/// Reads the run from its record; false, with nothing read, when it has none that holds.
bool ProjectFile::readRecordOf_(const std::string& run) {
    const auto record = m_records.find(run);
    if (record == m_records.end())
        return false;
    const std::size_t count = m_project.m_entries.size();
    try {
        readRun_(record->second, record->second.root());
        return true;
    } catch (const HEXError&) {
        m_project.m_entries.resize(count);
        return false;
    }
}

void ProjectFile::checkVersion_(const xml::Document& document) const {
    const xml::Element& root = document.root();
    if (root.name() != projectName::kProject)
        document.refuse(root, "the root element is no " + std::string(projectName::kProject));
    int version = 0;
    if (!HUTConvert::stringToInteger(root.attribute(projectName::kVersion), version) || version < 1)
        document.refuse(root, "there is no version");
    if (version > kVersion)
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-13@%s%s%s",
                                                 path_(), std::to_string(version),
                                                 std::to_string(kVersion)));
}

void ProjectFile::readDesign_(const xml::Element& root) {
    DesignInputs inputs;
    m_project.m_name = root.attribute(projectName::kName);
    inputs.top = root.attribute(projectName::kTop);
    inputs.device = root.attribute(projectName::kDevice);
    inputs.package = root.attribute(projectName::kPackage);
    inputs.frequencyMhz = root.attribute(projectName::kFrequency);
    for (const xml::Element& child : root.children()) {
        const std::string path = absolute_(child.attribute(projectName::kPath));
        if (child.name() == projectName::kSource)
            inputs.sources.push_back(path);
        else if (child.name() == projectName::kConstraints)
            inputs.constraints = path;
        else if (child.name() == projectName::kInclude)
            inputs.includeDirs.push_back(path);
        else if (child.name() == projectName::kDefine)
            inputs.defines.push_back(child.attribute(projectName::kText));
    }
    m_project.m_inputs = inputs;
}

void ProjectFile::readRun_(const xml::Document& document, const xml::Element& element) {
    const HAXPFlow* flow = HAXPMgr::getGlobal()->getFlowById(element.attribute(projectName::kFlow));
    if (flow == nullptr)
        document.refuse(element, "there is no flow " + element.attribute(projectName::kFlow));
    Project::Entry* entry = nullptr;
    requireEntry(document, element, [&] {
        entry = &m_project.addEntry_(element.attribute(projectName::kName), *flow, "",
                                     element.attribute(projectName::kSynthesis));
        workbench::requireScriptPath(absolute_(element.attribute(projectName::kDir)));
    });
    HAXPExpRun& run = *entry->run;
    readOptions(document, element, *run.getStrategy());
    run.setStrategyName(element.attribute(projectName::kStrategy));
    run.setDescription(element.attribute(projectName::kDescription), false);
    readFamily_(document, element, *entry);
    entry->toStep = element.attribute(projectName::kToStep);
    run.setToStepId(entry->toStep);
    const std::string& dir = element.attribute(projectName::kDir);
    if (!dir.empty() && !isRunDirectory(absolute_(dir)))
        document.refuse(element,
                        "the run directory " + dir + " is no folder in " + m_project.getRunsDir());
    if (!dir.empty())
        run.setRunDir(absolute_(dir), false);
    if (const xml::Element* launch = element.child(projectName::kLaunch)) {
        run.getInfo().setLaunch(readTime(document, *launch),
                                launch->attribute(projectName::kToStep));
        readCluster(*launch, run.getInfo());
        run.getInfo().setLaunchedInputs(readInputs_(*launch));
        run.getInfo().setLaunchedFiles(readFiles_(document, *launch));
        run.getInfo().setLaunchedTools(readTools(document, *launch));
        auto snapshot = std::make_unique<HAXPStrategy>(flow);
        readOptions(document, *launch, *snapshot);
        delete run.getInfo().getRunSnapshotStrategy();
        run.getInfo().setRunSnapshotStrategy(snapshot.release());
        run.setRunMode(HAXPExpRunBase::kLaunched);
    }
    readReports_(document, element, *entry);
    run.clearDirty();
}

void ProjectFile::readFamily_(const xml::Document& document, const xml::Element& element,
                              const Project::Entry& entry) {
    const workbench::RunFamily family{element.attribute(projectName::kSweep),
                                      element.attribute(projectName::kFamily)};
    if (!family.sweep.empty() || !family.name.empty())
        requireEntry(document, element, [&] { m_project.setFamilyOf(*entry.run, family); });
}

void ProjectFile::readReports_(const xml::Document& document, const xml::Element& element,
                               Project::Entry& entry) {
    if (m_project.m_access == Project::kOverview)
        return;
    std::vector<workbench::ReportRecord> records;
    if (const xml::Element* reports = element.child(projectName::kReports)) {
        entry.run->setReportStrategyName(reports->attribute(projectName::kStrategy));
        for (const xml::Element& child : reports->children()) {
            if (child.name() == projectName::kReport)
                records.push_back(readReport(document, child));
        }
    }
    if (!records.empty())
        workbench::restoreStrategies();
    Project::keepLost_(entry, workbench::restoreReports(*entry.run, records));
}

void ProjectFile::writeRun_(HXMLWriterBase& out, const Project::Entry& entry) const {
    const HAXPExpRun& run = *entry.run;
    const OpenRunInfo& info = run.getInfo();
    const std::string dir = run.getDir();
    out.addAttr(projectName::kName, run.getName());
    out.addAttr(projectName::kFlow, entry.flow->getFlowId());
    addIfSet(out, projectName::kSynthesis, entry.synthesis);
    out.addAttr(projectName::kStrategy, run.getStrategy()->getName());
    addIfSet(out, projectName::kDescription, run.getDescription());
    addIfSet(out, projectName::kDir, dir.empty() ? dir : relative_(dir));
    addIfSet(out, projectName::kToStep, entry.toStep);
    addIfSet(out, projectName::kSweep, entry.family.sweep);
    addIfSet(out, projectName::kFamily, entry.family.name);
    out.wrStartTag(projectName::kRun);
    writeOptions(out, *run.getStrategy());
    writeReports(out, run, entry.lostReports);
    if (info.getLaunchTime() != 0) {
        out.addAttr(projectName::kTime, std::to_string(info.getLaunchTime()));
        addIfSet(out, projectName::kToStep, info.getLaunchedTo());
        addIfSet(out, projectName::kCluster, info.getClusterConfigurationName());
        out.wrStartTag(projectName::kLaunch);
        writeInputs_(out, info.getLaunchedInputs());
        writeFiles_(out, info);
        writeTools(out, info);
        if (info.getRunSnapshotStrategy() != nullptr)
            writeOptions(out, *info.getRunSnapshotStrategy());
        out.wrEndTag(projectName::kLaunch);
    }
    out.wrEndTag(projectName::kRun);
}

void ProjectFile::writeInputs_(HXMLWriterBase& out, const workbench::InputRecord& record) const {
    for (const auto& entry : record) {
        for (const std::string& value : entry.second) {
            out.addAttr(projectName::kName, entry.first);
            out.addAttr(projectName::kValue,
                        workbench::isPathInput(entry.first) ? relative_(value) : value);
            out.wrEmptyTag(projectName::kInput);
        }
    }
}

workbench::InputRecord ProjectFile::readInputs_(const xml::Element& launch) const {
    workbench::InputRecord record;
    for (const xml::Element& child : launch.children()) {
        if (child.name() != projectName::kInput)
            continue;
        const std::string& entry = child.attribute(projectName::kName);
        const std::string& value = child.attribute(projectName::kValue);
        record[entry].push_back(workbench::isPathInput(entry) ? absolute_(value) : value);
    }
    return record;
}

void ProjectFile::writeFiles_(HXMLWriterBase& out, const OpenRunInfo& info) const {
    for (const auto& [path, file] : info.getLaunchedFiles()) {
        out.addAttr(projectName::kPath, relative_(path));
        out.addAttr(projectName::kKind, workbench::inputKindName(file.kind));
        workbench::writePrint(out, file.print);
        out.wrEmptyTag(projectName::kFile);
    }
}

workbench::InputFiles ProjectFile::readFiles_(const xml::Document& document,
                                              const xml::Element& launch) const {
    workbench::InputFiles files;
    for (const xml::Element& child : launch.children()) {
        if (child.name() != projectName::kFile)
            continue;
        workbench::InputFile file;
        const std::string& kind = child.attribute(projectName::kKind);
        if (!workbench::findInputKind(kind, file.kind))
            document.refuse(child, "\"" + kind + "\" is no kind of file");
        file.print = workbench::readPrint(document, child);
        files[absolute_(child.attribute(projectName::kPath))] = file;
    }
    return files;
}

std::string ProjectFile::absolute_(const std::string& path) const {
    if (path.empty() || path.front() == '/')
        return path;
    return path == "." ? m_project.m_dir : m_project.m_dir + "/" + path;
}

std::string ProjectFile::relative_(const std::string& path) const {
    const std::string folder = m_project.m_dir + "/";
    return path.compare(0, folder.size(), folder) == 0 ? path.substr(folder.size()) : path;
}

std::string ProjectFile::recordDir_() const {
    return recordDir(m_project.m_dir);
}

std::string ProjectFile::recordDir(const std::string& projectDir) {
    return workbench::ownFolder(projectDir) + "/" + kRecordFolder;
}

std::string ProjectFile::path_() const {
    return m_project.m_dir + "/" + Project::kFileName;
}
