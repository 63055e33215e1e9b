// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "tests/support/RunDir.h"

namespace test {

/// Real source files in a folder that goes with the fixture.
class SourceFolder {
public:
    std::string path(const std::string& name) const { return m_dir.path(name); }

    void write(const std::string& name, const std::string& content) const {
        m_dir.mark(name, content);
    }
    void remove(const std::string& name) const { m_dir.unmark(name); }
    void touch(const std::string& name, long seconds) const { m_dir.touch(name, seconds); }

    /// Writes the file `name` and adds it to `holder`, a file set or a
    /// composite file.
    template <class Holder>
    HDDASrcFile* add(Holder& holder, const std::string& name,
                     const std::string& content = "content") const {
        write(name, content);
        return holder.addSrcFile(path(name));
    }

    /// The same with a composite file of the kind of cores.
    template <class Holder>
    HDDACompositeFile* addCore(Holder& holder, const std::string& name) const {
        write(name, "core");
        return holder.addCompositeFile(path(name), HDDATypes::SFT_CORE);
    }

    /// The names that `ownedIter` gives, without the folder, in order.
    std::vector<std::string> names(HSTFwdIter<HDDASrcFile*>* ownedIter) const {
        const std::unique_ptr<HSTFwdIter<HDDASrcFile*>> iter(ownedIter);
        std::vector<std::string> names;
        while (iter->hasNext())
            names.push_back(iter->next()->getName().substr(m_dir.path().size() + 1));
        return names;
    }

private:
    RunDir m_dir;
};

}  // namespace test
