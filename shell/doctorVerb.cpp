// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/allChecks.h"
#include "shell/exitStatus.h"
#include "shell/interrupt.h"
#include "shell/jsonOutput.h"
#include "shell/note.h"
#include "shell/verb.h"

namespace shell {

namespace {

class DoctorVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        CLI::Option* sge =
            command.add_option("--sge", m_request.sgeCommand,
                               "Try the grid with this submit command, such as 'qsub -q all.q'");
        command
            .add_option("--lsf", m_request.lsfCommand, "The same for LSF, such as 'bsub -q normal'")
            ->excludes(sge);
        command.add_option("--wait", m_request.limitSec, "Seconds to wait for the grid's job")
            ->check(CLI::Range(1, 86400))
            ->capture_default_str();
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        CheckRequest request = m_request;
        request.dir = session.projectDir;
        // There are files and a job that have to go again.
        const Interrupt interrupt;
        const std::vector<Check> checks = checkAll(request, interrupt);
        if (m_json)
            printJson(checksJson(checks));
        else
            fmt::print("{}", checksText(checks));
        if (interrupt.pause(0)) {
            note("Interrupted; nothing of the trials is left but what is told above.");
            return kExitInterrupted;
        }
        return exitStatusOf(checks);
    }

private:
    CheckRequest m_request;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeDoctorVerb() {
    return makeVerb<DoctorVerb>();
}

}  // namespace shell
