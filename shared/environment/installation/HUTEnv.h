// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTVector.h"

struct Installation;

/// The process, the product and its folders, as the one Installation says.
///
/// Folders have no separator at their end. All operations may be called from
/// any thread; setInstallation() is for the start of the program and for tests.
class ENVIRONMENT_API HUTEnv {
public:
    HUTEnv() = delete;

    /// Replaces the installation. Separators at the end of folders are dropped.
    static void setInstallation(const Installation& installation);

    /// The installation that holds; Installation::getDefault() until one is set.
    static Installation getInstallation();

    /// A variable of the process environment; null when it is unset. Good until
    /// the environment changes.
    static const char* getEnv(const char* name);

    /// The name of this host, as the system gives it at the first call.
    static const std::string& getHostName();

    static std::string getProgramName();
    static std::string getProductName();
    static std::string getCopyRight();

    /// Whether the running program is the "tarnel" one: by its name, in any
    /// case, or because the installation says so.
    static bool isTarnel();

    /// The version "2026.1.2" has major "2026", minor "1" and majorMinor
    /// "2026.1". They are texts: a version without a number stays as it is, and
    /// one without a dot has an empty minor.
    static std::string getProductMajorMinorVersion();
    static std::string getMajor();
    static std::string getMinor();

    /// Empties `args` and fills in the installation's loader arguments.
    static void getLoaderArgs(HSTVector<std::string>& args);

    static std::string getMQIInstallRoot();
    static std::string getMQIAppRoot();

    /// The folder for what belongs to the user; it need not exist yet.
    /// @throws HEXDataException the installation has none.
    static std::string getMQIAppDataDir();

    /// The first root that holds `relPath`, a file or a folder; the first root
    /// when none does, so that an error names a place that makes sense. Empty
    /// when there are no roots.
    static std::string getKPXAppRoot(const std::string& relPath);

    static HSTVector<std::string> getKPXAppRootList();
};
