// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "environment/containers/HSTSList.h"
#include "environment/containers/HSTVector.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"
#include "tests/support/CatalogueFlow.h"
#include "tests/support/MessageRecorder.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestFlow.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/drain.h"

namespace test {

/// A file "kept.psg" in a folder of its own, and a parser to read it with, in tool
/// version 2023.2. Messages are recorded.
class StrategyFileTest : public ::testing::Test {
protected:
    StrategyFileTest() { m_installation.setVersion("2023.2"); }
    ~StrategyFileTest() override { destroyRead(); }

    std::string path() const { return m_dir.path("kept.psg"); }
    std::string content() const { return m_dir.read("kept.psg"); }

    bool read() { return m_parser->parseStrategies(path()); }
    /// Reads a file with this content, with a new parser.
    bool read(const std::string& content) {
        m_dir.mark("kept.psg", content);
        destroyRead();
        m_parser = std::make_unique<HAXSStrategyXMLParser>();
        return read();
    }
    /// A file of format 1.2, by tool 2023.2, with this inside of the root.
    static std::string fileOf(const std::string& inside) {
        return "<Strategy Version=\"1\" Minor=\"2\">\n<Tool Major=\"2023\" Minor=\"2\"/>\n" +
               inside + "\n</Strategy>";
    }
    /// The same with a strategy "Quick" of the kept flow and these steps.
    static std::string fileWith(const std::string& steps) {
        return fileOf("<StratHandle Name=\"Quick\" Flow=\"kept_flow\"/>\n" + steps);
    }
    /// What "place" has of attributes after a file with these was read.
    const HATOptGroup* placeAttrs(const std::string& attributes) {
        EXPECT_TRUE(read(fileWith("<Step Id=\"place\" " + attributes + "/>")));
        return one().getRunStepOptions("place")->getAttrs();
    }

    const HAXPStrategy& one() const {
        const HAXPStrategy* const strategy = m_parser->getOneStrategy();
        if (strategy == nullptr)
            throw std::logic_error("the file doesn't hold one strategy");
        return *strategy;
    }

    void destroyRead() {
        for (HAXPStrategy* strategy : drain(m_parser->createStrategyIter()))
            delete strategy;
        m_parser = std::make_unique<HAXSStrategyXMLParser>();
    }

    void save(HAXPStrategy& strategy) const {
        HAXSStrategyXMLWriter(path()).writeStrategy(&strategy);
    }

    const HAXPFlow* const m_flow = catalogueFlow();
    TestInstallation m_installation;
    RunDir m_dir;
    MessageRecorder m_messages;
    std::unique_ptr<HAXSStrategyXMLParser> m_parser = std::make_unique<HAXSStrategyXMLParser>();
};

}  // namespace test
