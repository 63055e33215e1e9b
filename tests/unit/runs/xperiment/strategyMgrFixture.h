// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "tests/support/CatalogueFlow.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/TestFlow.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/drain.h"

namespace test {

/// A manager of its own, in tool version 2023.2, over two flows of the catalogue.
/// Messages are recorded.
class StrategyMgrTest : public ::testing::Test {
protected:
    StrategyMgrTest() { m_installation.setVersion("2023.2"); }
    ~StrategyMgrTest() override { forget(); }

    /// What a new start of the program has: a manager that knows nothing.
    void restart() {
        forget();
        m_manager = std::make_unique<HAXPStrategyMgr>();
    }
    /// The same, with all files restored.
    void restartAndRestore() {
        restart();
        m_manager->restoreAllStrategies("psg", false);
    }
    void forget() {
        for (const HAXPFlow* flow : {m_flow, m_otherFlow})
            for (HAXPStrategy* strategy : drain(m_manager->createStrategyIter(flow)))
                delete strategy;
        m_manager.reset();
    }

    /// The folder of the user's strategies of this version.
    std::string personal() const { return m_installation.appDataDir() + "/2023.2/strategies"; }
    static bool exists(const std::string& path) { return std::filesystem::exists(path); }
    static void addFile(const std::string& path, const std::string& content) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path) << content;
    }
    static std::string contentOfFile(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// The names in a folder, sorted.
    static std::vector<std::string> namesIn(const std::string& folder) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    /// A file with a strategy of this name, and what else its root has inside.
    static std::string fileOf(const std::string& name, const std::string& steps = "",
                              const std::string& tool = "Major=\"2023\" Minor=\"2\"",
                              const std::string& flowId = "kept_flow") {
        return "<Strategy Version=\"1\" Minor=\"2\"><Tool " + tool + "/><StratHandle Name=\"" +
               name + "\" Flow=\"" + flowId + "\"/>" + steps + "</Strategy>";
    }

    /// The names of the registered strategies, in order.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const HAXPStrategy* strategy : drain(m_manager->createStrategyIter(m_flow)))
            names.push_back(strategy->getName());
        return names;
    }

    HAXPStrategy* create(const std::string& name) {
        return m_manager->createStrategy(m_flow, name);
    }
    HAXPStrategy* find(const std::string& name) const {
        return m_manager->findStrategy(m_flow, name);
    }
    /// Registers an enterprise strategy with this file.
    HAXPStrategy* addEnterprise(const std::string& name, const std::string& file = "") {
        auto strategy = std::make_unique<HAXPStrategy>(m_flow);
        strategy->setName(name);
        strategy->setUserDefined(false);
        strategy->setFilename(file);
        m_manager->registerStrategy(strategy.get());
        return strategy.release();
    }

    const HAXPFlow* const m_flow = catalogueFlow();
    const HAXPFlow* const m_otherFlow = catalogueFlow("other_flow");
    TestInstallation m_installation;
    MessageRecorder m_messages;
    std::unique_ptr<HAXPStrategyMgr> m_manager = std::make_unique<HAXPStrategyMgr>();
};

}  // namespace test
