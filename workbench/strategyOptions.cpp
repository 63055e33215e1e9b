// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/strategyOptions.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXUserException.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATAttrTypes.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "workbench/entryRules.h"
#include "workbench/optionText.h"
#include "workbench/suggestion.h"

namespace workbench {

namespace {

using EntryIter = std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>>;

/// @throws HEXUserException none of the options is called `name`, or several are.
StrategyOption findOption(const HAXPStrategy& strategy, const std::string& name) {
    std::vector<StrategyOption> found;
    std::string known;
    for (const StrategyOption& option : optionsOf(strategy)) {
        known += (known.empty() ? "" : ", ") + option.fullName();
        if (name == option.fullName() || name == option.name())
            found.push_back(option);
    }
    if (found.size() != 1)
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-24@%s%s",
                                                 name, withHint(name, known)));
    return found.front();
}

}  // namespace

const std::string& StrategyOption::step() const {
    return group->getOptGrpId();
}

const std::string& StrategyOption::name() const {
    return spec->getName();
}

std::string StrategyOption::fullName() const {
    return step() + "." + name();
}

std::vector<StrategyOption> optionsOf(const HAXPStrategy& strategy) {
    std::vector<StrategyOption> options;
    const EntryIter entries(strategy.createFlowStepOptionsIter());
    while (entries->hasNext()) {
        const HAXPFlowStepOptions* entry = entries->next();
        for (HATOptGroup* group : {entry->getOptions(), entry->getAttrs()}) {
            for (const auto& spec : group->getOptionsSpec()->getAttrSpecs()) {
                if (!spec->isReadOnly())
                    options.push_back({group, spec.get()});
            }
        }
    }
    return options;
}

void setOption(const HAXPStrategy& strategy, const std::string& name, const std::string& value) {
    const StrategyOption option = findOption(strategy, name);
    requireOptionText(name, value);
    std::string text = value;
    // Who types a file means it as seen from here; a run looks for it from its directory.
    if (option.spec->getAttrType() == HATAttrTypes::kFile && !text.empty())
        HUTFileUtils::makeAbsolutePath(text);
    std::string reason;
    if (!setOptionText(*option.group, *option.spec, text, reason))
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-23@%s%s",
                                                 option.fullName(), sentence(reason)));
}

std::vector<OptionDifference> differences(HAXPStrategy& first, HAXPStrategy& second) {
    HSTVector<HADAStaleOption*> found;
    const EntryIter entries(first.createFlowStepOptionsIter());
    while (entries->hasNext())
        HAXPUtilsBase::compareStrategies(&first, &second, entries->next()->getOptGrpId(), found);
    std::vector<OptionDifference> all;
    for (const HADAStaleOption* entry : found) {
        const std::unique_ptr<const HADAStaleOption> owned(entry);
        all.push_back(
            {owned->getGroup(), owned->getName(), owned->getNewValue(), owned->getOldValue()});
    }
    return all;
}

}  // namespace workbench
