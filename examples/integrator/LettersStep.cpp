// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "LettersStep.h"

#include <memory>

#include <sys/stat.h>

#include "LettersRunInfo.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HDGUIStatus.h"

const char LettersStep::kId[] = "sort_lines";
const char LettersStep::kResult[] = "sorted.txt";

// Name, abbreviation, command, id, message file.
LettersStep::LettersStep() : HAXPFlowStep("Sort lines", "sort", "sort", kId, "") {
    canDisable(true);
}

void LettersStep::configOptions_(HATOptGroupSpec* optionsSpec) {
    auto backwards = std::make_unique<HATAttrSpec>(HATAttrTypes::kBool, HATAttrSpec::kOption);
    backwards->setName("backwards");
    backwards->setBoolDefault(false);
    // The database id stays when the option is renamed; the last word is what the command
    // line gets.
    optionsSpec->registerAttrSpec(backwards.release(), "letters.backwards", "-r");
}

void LettersStep::configReports_() {
    auto sorted = std::make_unique<HAXPFileSpec>("sorted lines");
    sorted->addFileType(HAXPTypes::FILE_OUTPUT_DCP);
    addReportSpec(sorted.release());
}

void LettersStep::initSrcFilter_() {
    getSrcFilter()->addSFType(HDDATypes::SFT_VERILOG);
}

void LettersStep::writePrePostOpts_(std::string&, std::string& post, HATOptGroup*,
                                    HAXPExpRunBase* run) const {
    const auto* info = dynamic_cast<const LettersRunInfo*>(run->getExpInfoBase());
    // Both strings come in empty; words are joined by blanks, names with blanks are quoted.
    post = std::string("-o ") + kResult + " " + quote_if(info->getText());
}

void LettersStep::updStatus_(HDGUIStatus* status, HUTProcessHandle* handle,
                             const std::string& runDir) const {
    HAXPFlowStep::updStatus_(status, handle, runDir);
    struct stat result {};
    if (status->getCode() == HDGUIStatus::statusDone &&
        ::stat((runDir + "/" + kResult).c_str(), &result) != 0) {
        status->setCode(HDGUIStatus::statusError);
        status->setText("The sorted lines are missing");
    }
}
