// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTVector.h"

/// The named parameters of the environment: switches that a site, a project or
/// a program sets, all of them bool.
///
/// One table names every parameter of the library, what holds while it is
/// absent, and what it does; layers above declare theirs. A value comes from
/// one of four sources. When several give one, the first of these wins:
///
/// 1. kCode: the embedding program, or a command of its user;
/// 2. kProject: the open project;
/// 3. kFile: a parameters file;
/// 4. kEnvironment: a variable of the process environment, named
///    "XPERIMENT_PARAM_" and the parameter in capitals with '_' for each '.':
///    XPERIMENT_PARAM_RUNS_DEBUG=true. It is read when the manager is made, and
///    again by readEnvironment().
///
/// A parameter that no source gives is absent. A value is written as true,
/// yes, on or 1, or as false, no, off or 0, in any case.
///
/// All operations may be called from any thread.
class ENVIRONMENT_API HPAParamMgr {
public:
    /// Where a value comes from, the strongest first.
    enum Source { kCode, kProject, kFile, kEnvironment };

    /// The manager of this process, made at the first call. Never deleted.
    static HPAParamMgr* getParamMgr();

    HPAParamMgr(const HPAParamMgr&) = delete;
    HPAParamMgr& operator=(const HPAParamMgr&) = delete;

    /// @throws HEXDataException the parameter is absent; the text names it.
    bool getValueAsBool(const std::string& name) const;

    /// The value, or `defaultValue` when the parameter is absent.
    bool getValueIfExistAsBool(const std::string& name, bool defaultValue) const;

    /// Whether some source gives the parameter a value.
    bool hasValue(const std::string& name) const;

    /// Whether the parameter is in the table or was declared.
    bool isKnown(const std::string& name) const;

    /// The source whose value holds. The parameter has a value.
    /// @throws HEXDataException the parameter is absent.
    Source getSource(const std::string& name) const;

    /// What the parameter does, in one sentence; empty for an unknown one.
    std::string getDescription(const std::string& name) const;

    /// All known names, sorted.
    void getNames(HSTVector<std::string>& names) const;

    /// Adds a parameter of a layer above. Declaring it again changes nothing.
    void declareParam(const std::string& name, const std::string& description);

    /// Gives the parameter a value from `source`, over the one that this source
    /// gave before. @throws HEXDataException the parameter isn't known.
    void setValueAsBool(const std::string& name, bool value, Source source = kCode);

    /// Takes back what `source` gave for this parameter, or for all.
    void resetValue(const std::string& name, Source source = kCode);
    void resetValues(Source source);

    /// Reads a parameters file; its values replace all that came from files
    /// before. Each line is "name = value", blank, or a comment after '#':
    ///
    ///     # Site settings
    ///     runs.defaultToToolStrategy = true
    ///
    /// A line with an unknown name or a wrong value is passed over with a
    /// warning that names file and line; of two lines for one name the later
    /// one holds, also with a warning.
    /// @throws HEXFileNotFoundException the file can't be read; all values stay.
    void readParamFile(const std::string& path);

    /// Takes the values of the process environment anew. A wrong value is
    /// passed over with a warning.
    void readEnvironment();

    /// The variable that stands for a parameter.
    static std::string getVariableName(const std::string& name);

    /// Whether `text` is one of the words for a bool; `value` is written then.
    static bool parseBool(const std::string& text, bool& value);

private:
    HPAParamMgr();
    ~HPAParamMgr();

    struct Data;
    std::unique_ptr<Data> m_data;
};
