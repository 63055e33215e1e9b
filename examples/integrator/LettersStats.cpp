// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "LettersStats.h"

#include <fstream>
#include <memory>
#include <string>

#include "LettersStep.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"

const char LinesStat::kName[] = "Lines";

void LinesStat::add() {
    // The statistic owns its spec, the manager the statistic.
    auto spec = std::make_unique<HAXPStatSpec>(kName, HAXPTypes::STAT_LONG);
    auto stat = std::make_unique<LinesStat>(spec.release());
    HAXPStatMgr::getGlobal()->addStat(stat.release());
}

bool LinesStat::updLong_(long& value, HAXPExpRunBase* run) {
    std::string dir;
    run->getRunDir(dir);
    std::ifstream file(dir + "/" + LettersStep::kResult);
    if (!file)
        return false;
    value = 0;
    for (std::string line; std::getline(file, line);)
        ++value;
    return true;
}
