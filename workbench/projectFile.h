// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "environment/xml/xmlDocument.h"
#include "workbench/Project.h"
#include "workbench/inputFiles.h"
#include "workbench/inputRecord.h"

class HXMLWriterBase;
class OpenRunInfo;

/// Reads and writes the file of a project.
class ProjectFile {
public:
    explicit ProjectFile(Project& project);

    /// @throws HEXUserException the file is damaged or of a newer version.
    void read();
    /// Takes the records of launches in, which go. @throws HXMLException the file can't be
    /// saved.
    void write() const;
    /// Saves `entry` alone, as a record beside the file whose SHA-1 is `base`. It counts
    /// as long as the file is that one. @throws HXMLException it can't be saved.
    void writeRecord(const Project::Entry& entry, const std::string& base) const;

    /// Writes `run` alone, as it stands in the project file, into the file `path`, within a root
    /// element `root` with `attributes`. @throws HXMLException the file can't be saved.
    void writeRunAlone(const std::string& path, const std::string& root,
                       const std::vector<std::pair<std::string, std::string>>& attributes,
                       const HAXPExpRun& run) const;
    /// Takes the run that writeRunAlone() wrote, in the place of the one of its name, if there is
    /// one, to which pointers are void then. @throws HEXUserException it doesn't fit the project;
    /// nothing changes.
    void readRunAlone(const xml::Document& document);
    /// Whether readRunAlone() would take it: @throws as that does. Nothing changes.
    void requireRunAlone(const xml::Document& document);
    /// The directory of the run in such a file; empty when it has none.
    std::string directoryOf(const xml::Document& document) const;
    /// Whether `dir` is a folder right in the project's folder of runs, there or not.
    bool isRunDirectory(const std::string& dir) const;

    /// Where the records of launches lie.
    static std::string recordDir(const std::string& projectDir);

private:
    void exchangeRun_(const xml::Document& document, bool stays);
    void readDocument_(const xml::Document& document);
    xml::Document readWithRecords_();
    bool hasRecords_() const;
    void readRecords_(const std::string& base);
    bool readRecordOf_(const std::string& run);
    void dropRecords_() const;
    void checkVersion_(const xml::Document& document) const;
    void readDesign_(const xml::Element& root);
    void readRun_(const xml::Document& document, const xml::Element& element);
    void readFamily_(const xml::Document& document, const xml::Element& element,
                     const Project::Entry& entry);
    void readReports_(const xml::Document& document, const xml::Element& element,
                      Project::Entry& entry);
    void writeRun_(HXMLWriterBase& out, const Project::Entry& entry) const;
    void writeInputs_(HXMLWriterBase& out, const workbench::InputRecord& record) const;
    workbench::InputRecord readInputs_(const xml::Element& launch) const;
    void writeFiles_(HXMLWriterBase& out, const OpenRunInfo& info) const;
    workbench::InputFiles readFiles_(const xml::Document& document,
                                     const xml::Element& launch) const;
    std::string absolute_(const std::string& path) const;
    std::string relative_(const std::string& path) const;
    std::string path_() const;
    std::string recordDir_() const;

    Project& m_project;
    /// By the name of the run that each is of.
    std::map<std::string, xml::Document> m_records;
};
