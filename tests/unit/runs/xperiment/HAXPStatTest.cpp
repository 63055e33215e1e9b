// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStat.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HCTThreadException.h"
#include "environment/errors/HEXAlgException.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"
#include "tests/support/drain.h"
#include "tests/support/thrownText.h"

using test::drain;
using test::thrownText;

namespace {

/// A statistic that computes what it is told to.
class TestStat : public HAXPStat {
public:
    explicit TestStat(HAXPStatSpec* spec) : HAXPStat(spec) {}
    TestStat(const TestStat&) = default;
    ~TestStat() override {
        if (onDestruction)
            onDestruction();
    }

    bool computes = true;
    long number = 42;
    double real = 2.5;
    std::string text = "fast";
    std::function<void()> onUpdate;
    std::function<void()> onDestruction;
    /// The hooks called so far, and the run of the last.
    std::string calls;
    HAXPExpRunBase* run = nullptr;

protected:
    HAXPStat* clone_() const override { return new TestStat(*this); }

    bool updLong_(long& value, HAXPExpRunBase* forRun) override {
        return update_("long", value, number, forRun);
    }
    bool updDouble_(double& value, HAXPExpRunBase* forRun) override {
        return update_("double", value, real, forRun);
    }
    bool updString_(std::string& value, HAXPExpRunBase* forRun) override {
        return update_("string", value, text, forRun);
    }
    bool updDTStamp_(long& value, HAXPExpRunBase* forRun) override {
        return update_("stamp", value, number, forRun);
    }
    bool updTime_(long& value, HAXPExpRunBase* forRun) override {
        return update_("time", value, number, forRun);
    }

private:
    template <class T>
    bool update_(const char* hook, T& value, const T& result, HAXPExpRunBase* forRun) {
        calls += hook;
        run = forRun;
        value = result;
        if (onUpdate)
            onUpdate();
        return computes;
    }
};

/// A statistic that leaves every hook as it is.
class BareStat : public HAXPStat {
public:
    explicit BareStat(HAXPStatSpec* spec) : HAXPStat(spec) {}
    BareStat(const BareStat&) = default;

protected:
    HAXPStat* clone_() const override { return new BareStat(*this); }
};

/// The value as text, read with the operation for the type.
std::string valueOf(const HAXPStat& stat) {
    std::string text;
    switch (stat.getStatSpec()->getStatType()) {
    case HAXPTypes::STAT_LONG:
        return std::to_string(stat.getLongVal());
    case HAXPTypes::STAT_DOUBLE:
        return std::to_string(stat.getDoubleVal());
    case HAXPTypes::STAT_DT_STAMP:
        return std::to_string(stat.getDTStampVal());
    case HAXPTypes::STAT_TIME:
        return std::to_string(stat.getTimeVal());
    default:
        stat.getStringVal(text);
        return text;
    }
}

TEST(StatSpecTest, HasItsDefaults) {
    const HAXPStatSpec spec("LUTs", HAXPTypes::STAT_LONG);
    EXPECT_EQ(spec.getName(), "LUTs");
    EXPECT_EQ(spec.getDescription(), "");
    EXPECT_EQ(spec.getId(), -1);
    EXPECT_EQ(spec.getDigits(), 3);
    EXPECT_EQ(spec.getStatType(), HAXPTypes::STAT_LONG);
}

TEST(StatSpecTest, KeepsWhatIsSet) {
    HAXPStatSpec spec("slack", HAXPTypes::STAT_DOUBLE);
    spec.setDescription("Worst slack");
    spec.setId(2);
    spec.setDigits(1);
    EXPECT_EQ(spec.getDescription(), "Worst slack");
    EXPECT_EQ(spec.getId(), 2);
    EXPECT_EQ(spec.getDigits(), 1);
}

/// A type, the hook that goes with it, and the value as text before and after.
struct TypeCase {
    HAXPTypes::StatType type;
    const char* hook;
    const char* none;
    const char* value;
};

class StatTypeTest : public ::testing::TestWithParam<TypeCase> {
protected:
    HAXPStatSpec m_spec{"stat", GetParam().type};
    TestStat m_stat{&m_spec};
};

TEST_P(StatTypeTest, HasNoValueAtFirst) {
    EXPECT_EQ(valueOf(m_stat), GetParam().none);
    EXPECT_FALSE(m_stat.isAvailable());
    EXPECT_FALSE(m_stat.isNA());
    EXPECT_FALSE(m_stat.isError());
    EXPECT_EQ(m_stat.getStatSpec(), &m_spec);
}

TEST_P(StatTypeTest, ComputesItsValueThroughItsHookAlone) {
    auto* run = reinterpret_cast<HAXPExpRunBase*>(&m_spec);
    m_stat.updateStat(run);
    EXPECT_EQ(m_stat.calls, GetParam().hook);
    EXPECT_EQ(m_stat.run, run);
    EXPECT_EQ(valueOf(m_stat), GetParam().value);
    EXPECT_TRUE(m_stat.isAvailable());
}

TEST_P(StatTypeTest, LosesItsValueWhenItCanNotBeComputed) {
    m_stat.updateStat(nullptr);
    m_stat.computes = false;
    m_stat.updateStat(nullptr);
    EXPECT_EQ(valueOf(m_stat), GetParam().none);
    EXPECT_FALSE(m_stat.isAvailable());
}

TEST_P(StatTypeTest, CanNotBeComputedByTheBase) {
    BareStat stat(&m_spec);
    stat.updateStat(nullptr);
    EXPECT_EQ(valueOf(stat), GetParam().none);
    EXPECT_FALSE(stat.isAvailable());
}

TEST_P(StatTypeTest, LosesItsValueOnResetButNotTheFlag) {
    m_stat.updateStat(nullptr);
    m_stat.setIsNA(true);
    m_stat.resetStat();
    EXPECT_EQ(valueOf(m_stat), GetParam().none);
    EXPECT_FALSE(m_stat.isAvailable());
    EXPECT_TRUE(m_stat.isNA());
}

TEST_P(StatTypeTest, KeepsItsValueWhenTheHookThrows) {
    m_stat.updateStat(nullptr);
    m_stat.onUpdate = [] { throw std::runtime_error("no report"); };
    m_stat.number = 7;
    m_stat.real = 7;
    m_stat.text = "slow";
    EXPECT_EQ(thrownText<std::runtime_error>([&] { m_stat.updateStat(nullptr); }), "no report");
    EXPECT_EQ(valueOf(m_stat), GetParam().value);
    EXPECT_TRUE(m_stat.isAvailable());
}

TEST_P(StatTypeTest, IsLockedWhileTheHookRuns) {
    m_stat.onUpdate = [this] { m_stat.isAvailable(); };
    EXPECT_THROW(m_stat.updateStat(nullptr), HCTThreadException);
    EXPECT_FALSE(m_stat.isAvailable());
}

TEST_P(StatTypeTest, RefusesToReadAnotherType) {
    std::string text = "before";
    int refused = 0;
    const std::vector<std::function<void()>> reads = {
        [&] { m_stat.getLongVal(); }, [&] { m_stat.getDoubleVal(); },
        [&] { m_stat.getStringVal(text); }, [&] { m_stat.getDTStampVal(); },
        [&] { m_stat.getTimeVal(); }};
    for (const auto& read : reads)
        refused += thrownText<HEXAlgException>(read) == "StatType mismatch";
    EXPECT_EQ(refused, 4);
    EXPECT_NO_THROW(reads.at(GetParam().type - 1)());
}

INSTANTIATE_TEST_SUITE_P(All, StatTypeTest,
                         ::testing::Values(TypeCase{HAXPTypes::STAT_LONG, "long", "0", "42"},
                                           TypeCase{HAXPTypes::STAT_DOUBLE, "double", "0.000000",
                                                    "2.500000"},
                                           TypeCase{HAXPTypes::STAT_STRING, "string", "", "fast"},
                                           TypeCase{HAXPTypes::STAT_DT_STAMP, "stamp", "0", "42"},
                                           TypeCase{HAXPTypes::STAT_TIME, "time", "0", "42"}),
                         [](const auto& row) { return std::string(row.param.hook); });

TEST(StatTest, HasTheTypesThatFilesKnow) {
    EXPECT_EQ(HAXPTypes::STAT_LONG, 1);
    EXPECT_EQ(HAXPTypes::STAT_DOUBLE, 2);
    EXPECT_EQ(HAXPTypes::STAT_STRING, 3);
    EXPECT_EQ(HAXPTypes::STAT_DT_STAMP, 4);
    EXPECT_EQ(HAXPTypes::STAT_TIME, 5);
}

TEST(StatTest, ChecksItsType) {
    HAXPStatSpec spec("stat", HAXPTypes::STAT_TIME);
    const TestStat stat(&spec);
    EXPECT_NO_THROW(stat.checkType(HAXPTypes::STAT_TIME));
    EXPECT_EQ(thrownText<HEXAlgException>([&] { stat.checkType(HAXPTypes::STAT_LONG); }),
              "StatType mismatch");
}

TEST(StatTest, RefusesToUpdateAnUnknownType) {
    for (const int type : {0, 6, 7}) {
        HAXPStatSpec spec("stat", static_cast<HAXPTypes::StatType>(type));
        TestStat stat(&spec);
        EXPECT_EQ(thrownText<HEXAlgException>([&] { stat.updateStat(nullptr); }),
                  "unknown stat type");
        EXPECT_EQ(stat.calls, "");
        EXPECT_FALSE(stat.isAvailable());
    }
}

TEST(StatTest, IsClonedWithoutItsValue) {
    HAXPStatSpec spec("stat", HAXPTypes::STAT_LONG);
    TestStat stat(&spec);
    stat.updateStat(nullptr);
    stat.setIsNA(true);
    const std::unique_ptr<HAXPStat> clone(stat.clone());
    EXPECT_NE(dynamic_cast<TestStat*>(clone.get()), nullptr);
    EXPECT_EQ(clone->getStatSpec(), &spec);
    EXPECT_EQ(clone->getLongVal(), 0);
    EXPECT_FALSE(clone->isAvailable());
    EXPECT_FALSE(clone->isNA());
    EXPECT_EQ(stat.getLongVal(), 42);
}

TEST(StatTest, IsReadWhileAnotherThreadUpdates) {
    HAXPStatSpec spec("stat", HAXPTypes::STAT_STRING);
    TestStat stat(&spec);
    std::thread writer([&stat] {
        for (int i = 0; i < 500; ++i) {
            stat.updateStat(nullptr);
            stat.resetStat();
        }
    });
    int strange = 0;
    std::string text;
    for (int i = 0; i < 500; ++i) {
        stat.getStringVal(text);
        strange += !text.empty() && text != "fast";
    }
    writer.join();
    EXPECT_EQ(strange, 0);
}

/// A spec that says when it goes.
class NotingSpec : public HAXPStatSpec {
public:
    NotingSpec(const std::string& name, std::vector<std::string>& log)
        : HAXPStatSpec(name, HAXPTypes::STAT_LONG), m_log(log) {}
    ~NotingSpec() override { m_log.push_back("spec " + getName()); }

private:
    std::vector<std::string>& m_log;
};

/// A list of statistics of its own.
class StatMgrTest : public ::testing::Test {
protected:
    HAXPStat* add(const std::string& name) {
        auto spec = std::make_unique<NotingSpec>(name, m_log);
        auto stat = std::make_unique<TestStat>(spec.get());
        stat->onDestruction = [this, name] { m_log.push_back("stat " + name); };
        m_stats->addStat(stat.get());
        static_cast<void>(spec.release());
        return stat.release();
    }

    std::vector<std::string> m_log;
    std::unique_ptr<HAXPStatMgr> m_stats = std::make_unique<HAXPStatMgr>();
};

TEST_F(StatMgrTest, IsOneForTheProcess) {
    EXPECT_NE(HAXPStatMgr::getGlobal(), nullptr);
    EXPECT_EQ(HAXPStatMgr::getGlobal(), HAXPStatMgr::getGlobal());
}

TEST_F(StatMgrTest, IsEmptyAtFirst) {
    EXPECT_EQ(m_stats->statSpecCount(), 0);
    EXPECT_TRUE(drain(m_stats->createStatSpecIter()).empty());
    EXPECT_TRUE(drain(m_stats->createStatIter()).empty());
}

TEST_F(StatMgrTest, NumbersSpecsInOrderOfAddition) {
    HAXPStat* luts = add("LUTs");
    HAXPStat* slack = add("slack");
    EXPECT_EQ(luts->getStatSpec()->getId(), 0);
    EXPECT_EQ(slack->getStatSpec()->getId(), 1);
    EXPECT_EQ(m_stats->statSpecCount(), 2);
    EXPECT_EQ(drain(m_stats->createStatIter()), (std::vector<HAXPStat*>{luts, slack}));
    EXPECT_EQ(drain(m_stats->createStatSpecIter()),
              (std::vector<HAXPStatSpec*>{luts->getStatSpec(), slack->getStatSpec()}));
}

TEST_F(StatMgrTest, TakesTwoStatisticsWithOneName) {
    add("LUTs");
    EXPECT_EQ(add("LUTs")->getStatSpec()->getId(), 1);
}

TEST_F(StatMgrTest, RefusesNull) {
    EXPECT_THROW(m_stats->addStat(nullptr), HEXAlgException);
    TestStat stat(nullptr);
    EXPECT_THROW(m_stats->addStat(&stat), HEXAlgException);
    EXPECT_EQ(m_stats->statSpecCount(), 0);
}

TEST_F(StatMgrTest, DestroysEveryStatisticBeforeAnySpec) {
    add("LUTs");
    add("slack");
    m_stats.reset();
    ASSERT_EQ(m_log.size(), 4U);
    EXPECT_EQ(m_log[0].substr(0, 4) + m_log[1].substr(0, 4), "statstat");
    EXPECT_EQ(m_log[2].substr(0, 4) + m_log[3].substr(0, 4), "specspec");
}

}  // namespace
