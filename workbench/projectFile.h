// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/Project.h"
#include "workbench/inputFiles.h"
#include "workbench/inputRecord.h"

namespace xml {
class Document;
class Element;
}  // namespace xml
class HXMLWriterBase;
class OpenRunInfo;

/// Reads and writes the file of a project.
class ProjectFile {
public:
    explicit ProjectFile(Project& project);

    /// @throws HEXUserException the file is damaged or of a newer version.
    void read();
    /// @throws HXMLException the file can't be saved.
    void write() const;

private:
    void readDocument_(const xml::Document& document);
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

    Project& m_project;
};
