// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "shell/serve/freshPage.h"

class Project;

namespace shell {

/// Looks at a project again and again, and makes its page anew when something changed. It
/// belongs to one thread, as the project does.
class PageWatch {
public:
    /// Of the project in `dir` or above; of all its runs, or of those that `names` mean.
    PageWatch(std::string dir, std::vector<std::string> names);
    ~PageWatch();

    PageWatch(const PageWatch&) = delete;
    PageWatch& operator=(const PageWatch&) = delete;

    /// Opens the project. @throws HEXUserException or CommandError it can't be served.
    void open();

    /// The page as it is now; the same object as before when nothing changed. A project that
    /// is gone or can't be read makes one that says so, and is looked for again by the next
    /// look.
    std::shared_ptr<const PageSnapshot> look();

private:
    std::shared_ptr<const PageSnapshot> lookAtProject_();
    std::string signs_() const;
    std::shared_ptr<const PageSnapshot> make_() const;

    std::string m_dir;
    std::vector<std::string> m_names;
    std::unique_ptr<Project> m_project;
    std::string m_projectSigns;
    std::string m_signs;
    std::string m_frame;
    std::shared_ptr<const PageSnapshot> m_current;
};

}  // namespace shell
