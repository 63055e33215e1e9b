// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/containers/HSTVector.h"

/// What the embedding program is and where its files lie: a plain value, given
/// to HUTEnv::setInstallation() at start.
struct ENVIRONMENT_API Installation {
    /// The program that runs, as it was called, without its folder.
    std::string programName;

    /// The product, as it stands in scripts and texts.
    std::string productName;

    /// The product's version: major and minor, such as "2026.1"; more parts may
    /// follow behind another dot.
    std::string version;

    /// The copyright line of the scripts; it may be empty.
    std::string copyright;

    /// The folder that holds "strategies" of the installation.
    std::string installRoot;

    /// The folder that holds "reportstrategies".
    std::string appRoot;

    /// The folders that are searched for a file of the application, in this
    /// order: "scripts", release strategies.
    HSTVector<std::string> appRoots;

    /// The folder for what belongs to the user. Empty means that there is none:
    /// asking HUTEnv for it is an error then. Nothing else of the user's home is
    /// ever looked at.
    std::string appDataDir;

    /// Arguments for the loader of the product's programs, which report scripts
    /// pass on.
    HSTVector<std::string> loaderArgs;

    /// Whether the program is the "tarnel" one under another name.
    bool isTarnel = false;

    /// What holds until the program says otherwise: the name by which the
    /// process was started, the library's own name and version, and
    ///
    /// - XPERIMENT_ROOT, one or more folders with ':' between them: the roots;
    ///   else the folder "share/xperiment" beside or above the library's own
    ///   folder, up to three levels, else that of the configured prefix;
    /// - XPERIMENT_APP_DATA_DIR: the user's folder; else none;
    /// - XPERIMENT_LOADER_ARGS: words with blanks between them; else none.
    static Installation getDefault();

    /// The usual place for what belongs to the user, for programs that want it:
    /// XDG_DATA_HOME, else ".local/share" in the user's home, and in it
    /// `folder`. Empty when neither variable is set.
    static std::string getUserDataDir(const std::string& folder);
};
