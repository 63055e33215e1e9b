// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "environment/filemgmt/HDDATypes.h"
#include "workbench/DesignInputs.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/fileFingerprint.h"
#include "workbench/inputRecord.h"

/// The files that a run is made from, and what became of them since its launch.
namespace workbench {

/// Why a run reads a file.
enum class InputKind {
    kSource,
    kReference,  ///< a source names it: included, or the content of a memory
    kConstraints,
    kNetlist
};

/// The name of a kind in files and texts: "source", "reference" ...
WORKBENCH_API const char* inputKindName(InputKind kind);
/// The kind of that name; false, with `kind` as it was, when there is none.
WORKBENCH_API bool findInputKind(const std::string& name, InputKind& kind);

/// What the file sets of the environment call such a file.
WORKBENCH_API HDDATypes::SFTId srcFileTypeOf(InputKind kind);

struct InputFile {
    InputKind kind = InputKind::kSource;
    FileFingerprint print;
};

/// By absolute path.
using InputFiles = std::map<std::string, InputFile>;

/// What the files of `inputs` are like now: those of a synthesis with the files that
/// sources name, or else those of an implementation. A file that shows no sign of a
/// change since `known` isn't read; one that a source named then and that is gone is
/// among them.
WORKBENCH_API InputFiles lookAtInputs(const DesignInputs& inputs, bool isSynthesis,
                                      const InputFiles& known);

/// One file that isn't as it was.
struct FileChange {
    enum What {
        kModified,
        kAdded,
        kRemoved,  ///< the design no longer has it
        kMissing,
        kUnreadable,
        kMoved  ///< it has another place in the order of sources
    };

    std::string path;
    InputKind kind = InputKind::kSource;
    What what = kModified;
    /// When it changed, in seconds since the epoch; 0 when nothing tells.
    std::time_t since = 0;
};

/// The files `now` that aren't as they were `before`, by path, and those that sources
/// name since. The content decides: a file that was only touched, or brought back,
/// didn't change.
WORKBENCH_API std::vector<FileChange> changesOf(const InputFiles& before, const InputFiles& now,
                                                long launchTime);

/// What the design lists otherwise than `before`: files that came, went or changed
/// places. `files` are those of `now`. Nothing for a launch of which no record is kept.
WORKBENCH_API std::vector<FileChange> listChangesOf(const InputRecord& before,
                                                    const InputRecord& now, const InputFiles& files,
                                                    long launchTime);

/// The same by times alone, for a launch of which no contents are known: files that were
/// modified after it.
WORKBENCH_API std::vector<FileChange> newerThan(long launchTime, const InputFiles& now);

}  // namespace workbench
