// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// A strategy file in a user's directory: what is restored has a flow and all its steps,
// and is the same when it is saved and restored again. The file stays as it is.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/fuzzSupport.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"
#include "tests/support/CatalogueFlow.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/drain.h"

namespace {

using OwnedStrategy = std::unique_ptr<HAXPStrategy>;

/// What all inputs share: an installation, and a flow to read against.
struct Setting {
    test::TestInstallation installation;
    const HAXPFlow* flow = test::catalogueFlow();
    std::string folder = fuzz::scratch().folder("strategies");
};

const Setting& setting() {
    static const Setting setting;
    return setting;
}

std::vector<OwnedStrategy> restored() {
    HAXPStrategyMgr manager;
    manager.restoreStrategies(setting().folder, "psg", true);
    std::vector<OwnedStrategy> strategies;
    for (HAXPStrategy* strategy : test::drain(manager.createStrategyIter(setting().flow))) {
        strategy->attach(static_cast<HAXPStratDB*>(nullptr));
        strategies.emplace_back(strategy);
    }
    return strategies;
}

void checkSaving(HAXPStrategy& strategy) {
    const std::string path = fuzz::scratch().path("again.psg");
    HAXSStrategyXMLWriter(path).writeStrategy(&strategy);
    HAXSStrategyXMLParser parser;
    fuzz::require(parser.parseStrategies(path), "a strategy that was saved can be read");
    fuzz::require(!parser.needsBackup(), "nothing is dropped of a strategy that was saved");
    const OwnedStrategy again(parser.getOneStrategy());
    fuzz::require(again != nullptr && test::contentOf(*again) == test::contentOf(strategy),
                  "a strategy that was saved is read back equal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static_cast<void>(setting());
    const std::string path = fuzz::scratch().write("strategies/input.psg", data, size);
    for (const OwnedStrategy& strategy : restored()) {
        fuzz::require(strategy->stepCount() == 2, "a strategy has the steps of its flow");
        fuzz::require(strategy->getFilename() == path, "a strategy knows its file");
        checkSaving(*strategy);
    }
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    fuzz::require(
        std::equal(content.begin(), content.end(), data, data + size,
                   [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; }),
        "a file that is read stays as it is");
    return 0;
}
