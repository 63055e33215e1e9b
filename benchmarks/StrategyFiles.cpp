// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "benchmarks/StrategyFiles.h"

#include <cstring>
#include <memory>
#include <stdexcept>

#include <dirent.h>
#include <fcntl.h>
#include <libxml/parser.h>
#include <sys/stat.h>
#include <unistd.h>

#include "benchmarks/BenchFlow.h"
#include "environment/installation/HUTEnv.h"
#include "environment/installation/Installation.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"

namespace bench {

namespace {

constexpr int kSteps = 5;
constexpr int kOptions = 20;
constexpr int kReportsOfStep = 2;
constexpr int kCatalogueSize = 200;
constexpr char kNamePlace[] = "NAME_OF_THE_STRATEGY";

std::string withName(const std::string& text, const std::string& name) {
    const std::size_t at = text.find(kNamePlace);
    return std::string(text).replace(at, sizeof kNamePlace - 1, name);
}

/// The text that the writer itself makes.
std::string strategyTemplate() {
    HAXPStrategy strategy(&strategyFlow());
    strategy.setName(kNamePlace);
    strategy.setDescription("Spends more time on placement where the design is crowded.");
    for (int s = 0; s < kSteps; ++s) {
        HATOptGroup* const group = strategy.getOptions(stepName(s));
        for (int i = 0; i < kOptions; i += 4)
            group->setIntVal(group->getAttrSpecByName("option_" + std::to_string(i)), i + 1, false);
    }
    const BenchFolder folder;
    const std::string path = folder.path() + "/template";
    HAXSStrategyXMLWriter(path).writeStrategy(&strategy);
    return readWhole(path);
}

std::string reportName(int index) {
    return "report_kind_" + std::to_string(index);
}

std::string reportOptions() {
    const char* const kTypes[] = {"bool", "int", "string", "string"};
    const char* const kDefaults[] = {"false", "10", "", "a default of some length"};
    std::string text;
    for (int i = 0; i < 8; ++i)
        text += "      <Option name=\"option_" + std::to_string(i) + "\" type=\"" + kTypes[i % 4] +
                "\" def_value=\"" + kDefaults[i % 4] + "\" description=\"What it does\"/>\n";
    return text;
}

std::string reportsOfStep(int step) {
    std::string text;
    for (int i = 0; i < kReportsOfStep; ++i)
        text += "      <Spec Name=\"" + reportName(step * kReportsOfStep + i) +
                "\" Version=\"1\" Minor=\"0\">\n"
                "        <Option name=\"option_0\" def_value=\"true\"/>\n"
                "        <Option name=\"option_1\" def_value=\"25\"/>\n"
                "      </Spec>\n";
    return text;
}

std::string reportStrategyTemplate() {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<ReportStrategies Version=\"1\" Minor=\"0\">\n"
                       "  <Tool Major=\"" +
                       HUTEnv::getMajor() + "\" Minor=\"" + HUTEnv::getMinor() +
                       "\"/>\n"
                       "  <ReportStrategy>\n"
                       "    <ReportStratHandle Name=\"" +
                       kNamePlace + "\" Flow=\"" + strategyFlow().getFlowId() +
                       "\">\n"
                       "      <Desc>What a sign-off needs</Desc>\n"
                       "    </ReportStratHandle>\n";
    for (int s = 0; s < kSteps; ++s)
        text += "    <Step Id=\"" + stepName(s) + "\">\n" + reportsOfStep(s) + "    </Step>\n";
    return text + "  </ReportStrategy>\n</ReportStrategies>\n";
}

void onStart(void*, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**, int, int,
             const xmlChar**) {}
void onEnd(void*, const xmlChar*, const xmlChar*, const xmlChar*) {}
void onText(void*, const xmlChar*, int) {}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

xmlSAXHandler emptyHandlers() {
    xmlSAXHandler handlers;
    std::memset(&handlers, 0, sizeof handlers);
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.startElementNs = onStart;
    handlers.endElementNs = onEnd;
    handlers.characters = onText;
    handlers.ignorableWhitespace = onText;
    return handlers;
}

void requireParsed(int status) {
    if (status != 0)
        throw std::runtime_error("a document isn't well-formed");
}

template <class Visit> int forEachFile(const std::string& folder, Visit visit) {
    int count = 0;
    const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
    while (const dirent* const entry = readdir(open.get())) {
        if (entry->d_name[0] == '.')
            continue;
        visit(folder + "/" + entry->d_name);
        ++count;
    }
    return count;
}

std::string readPlainly(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0)
        throw std::runtime_error("can't open " + path);
    std::string text(static_cast<std::size_t>(info.st_size), '\0');
    const bool isRead = read(fd, text.data(), text.size()) == info.st_size;
    close(fd);
    if (!isRead)
        throw std::runtime_error("can't read " + path);
    return text;
}

}  // namespace

HAXPFlow& strategyFlow() {
    static HAXPFlow* const s_flow = makeFlow(kSteps, kOptions, true);
    return *s_flow;
}

std::string strategyText(const std::string& name) {
    static const std::string s_template = strategyTemplate();
    return withName(s_template, name);
}

std::string catalogueText(int reports) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Reports>\n";
    for (int i = 0; i < reports; ++i)
        text += "  <ReportSpec name=\"" + reportName(i) +
                "\" short_description=\"What the report tells\" Version=\"1\" Minor=\"0\">\n"
                "    <Options>\n" +
                reportOptions() +
                "    </Options>\n"
                "    <OutputOptions>\n"
                "      <OutputOption name=\"pb\" type=\"string\" def_value=\"\"/>\n"
                "      <OutputOption name=\"json\" type=\"string\" def_value=\"\"/>\n"
                "    </OutputOptions>\n"
                "  </ReportSpec>\n";
    return text + "</Reports>\n";
}

std::string reportStrategyText(const std::string& name) {
    static const std::string s_template = reportStrategyTemplate();
    return withName(s_template, name);
}

void installCatalogue() {
    static const BenchFolder s_folder;
    static bool s_isThere = false;
    if (s_isThere)
        return;
    s_isThere = true;
    writePlainly(s_folder.folder("reportstrategies") + "/report.xml", catalogueText(kCatalogueSize),
                 0644);
    Installation installation = HUTEnv::getInstallation();
    installation.appRoot = s_folder.path();
    HUTEnv::setInstallation(installation);
    HAXRReportSpecMgr::getGlobal()->parseReportSpecs();
}

StrategyFiles::StrategyFiles(int count, std::string (*textOf)(const std::string&)) {
    for (int i = 0; i < count; ++i) {
        const std::string name = "Strategy " + std::to_string(i);
        m_paths.push_back(path() + "/" + name + "." + strategyFlow().getFlowId() + ".psg");
        writePlainly(m_paths.back(), textOf(name), 0644);
    }
}

int parseFolder(const std::string& folder) {
    xmlSAXHandler handlers = emptyHandlers();
    return forEachFile(folder, [&](const std::string& path) {
        requireParsed(xmlSAXUserParseFile(&handlers, nullptr, path.c_str()));
    });
}

int parseFolderFromMemory(const std::string& folder) {
    xmlSAXHandler handlers = emptyHandlers();
    return forEachFile(folder, [&](const std::string& path) {
        const std::string text = readPlainly(path);
        requireParsed(
            xmlSAXUserParseMemory(&handlers, nullptr, text.data(), static_cast<int>(text.size())));
    });
}

}  // namespace bench
