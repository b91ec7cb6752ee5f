#include "Descriptions.h"

#include <catalogue/ConfigFile.h>

#include <gtest/gtest.h>

#include <random>

using monitor::CatalogueMessage;
using monitor::Config;
using monitor::readConfig;

namespace
{

const QByteArray valid = R"({
  "k": 2.5,
  "signals": {
    "Speed": {"factor": 0.1, "offset": -2, "unit": " rpm ", "limits": [-1, 3000]},
    "Gear*": {"reserved": false, "limits": [0, 0]},
    "Load": {"reserved": true}
  }
})";

} // namespace

TEST(ConfigFile, ReadsEverySetting)
{
    Config config;
    ASSERT_EQ(readConfig(valid, config), QString());
    EXPECT_EQ(config.k, 2.5);
    ASSERT_EQ(config.scalings.size(), 1);
    EXPECT_EQ(config.scalings.at(0).pattern, QString("Speed"));
    EXPECT_EQ(config.scalings.at(0).factor, 0.1);
    EXPECT_EQ(config.scalings.at(0).offset, -2);
    EXPECT_EQ(config.scalings.at(0).unit, QString("rpm"));
    ASSERT_EQ(config.limits.size(), 2);
    EXPECT_EQ(config.limits.at(1).pattern, QString("Speed"));
    EXPECT_EQ(config.limits.at(1).limits.lowest, -1);
    EXPECT_EQ(config.limits.at(1).limits.highest, 3000);
    ASSERT_EQ(config.reservations.size(), 2);
    EXPECT_EQ(config.reservations.at(0).pattern, QString("Gear*"));
    EXPECT_FALSE(config.reservations.at(0).reserves);
    EXPECT_EQ(config.reservations.at(1).pattern, QString("Load"));
    EXPECT_TRUE(config.reservations.at(1).reserves);
    EXPECT_EQ(config.patterns, (QStringList{"Gear*", "Load", "Speed"}));
}

TEST(ConfigFile, NothingNeedsToBeSet)
{
    Config config;
    EXPECT_EQ(readConfig("{}", config), QString());
    EXPECT_EQ(readConfig(R"({"signals": {"Speed": {}}})", config), QString());
    EXPECT_FALSE(config.k);
    EXPECT_TRUE(config.scalings.isEmpty());
}

TEST(ConfigFile, WhatIsWrongIsAComplaint)
{
    for (const char* text :
         {"", "[]", "1", "{\"k\": }", "{\"k\": -1}", "{\"k\": true}", "{\"K\": 1}",
          "{\"signals\": []}", "{\"signals\": {\"A\": 1}}", "{\"signals\": {\"A\": {\"gain\": 1}}}",
          "{\"signals\": {\"A\": {\"factor\": 0}}}", "{\"signals\": {\"A\": {\"factor\": \"1\"}}}",
          "{\"signals\": {\"A\": {\"offset\": null}}}", "{\"signals\": {\"A\": {\"unit\": 1}}}",
          "{\"signals\": {\"A\": {\"limits\": [1]}}}",
          "{\"signals\": {\"A\": {\"limits\": [2, 1]}}}",
          "{\"signals\": {\"A\": {\"limits\": [1, \"2\"]}}}",
          "{\"signals\": {\"A\": {\"limits\": [1, 2, 3]}}}",
          "{\"signals\": {\"A\": {\"reserved\": 0}}}"}) {
        Config config;
        EXPECT_FALSE(readConfig(text, config).isEmpty()) << text;
    }
}

TEST(ConfigFile, ComplaintNamesTheLine)
{
    Config config;
    EXPECT_TRUE(readConfig("{\n\"k\": 1,\n oops\n}", config).startsWith("line 3: "));
}

TEST(ConfigFile, EveryPrefixIsAComplaintAndDamageIsNoCrash)
{
    for (int size = 0; size < valid.size(); ++size) {
        Config config;
        EXPECT_FALSE(readConfig(valid.left(size), config).isEmpty()) << size;
    }
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        QByteArray text = valid;
        for (auto damage = 1 + random() % 4; damage > 0; --damage)
            text[static_cast<uint>(random()) % static_cast<uint>(text.size())] =
                static_cast<char>(random());
        Config config;
        if (!readConfig(text, config).isEmpty())
            continue;
        for (const auto& given : config.limits)
            ASSERT_LE(given.limits.lowest, given.limits.highest);
    }
}

TEST(SignalSettings, ScalingIsForCanopenObjectsThatHoldNumbers)
{
    CatalogueMessage message = describedMessage(0, {describedSignal(0, 8)});
    QVector<CatalogueMessage> messages{message};
    const QString complaint = "signal \"Signal\" cannot be scaled";
    EXPECT_EQ(monitor::setScalings({{"Signal", 2, 0, "A"}}, messages), complaint);
    message.node = 5;
    messages = {message};
    EXPECT_EQ(monitor::setScalings({{"Signal", 2, 1, "A"}}, messages), QString());
    EXPECT_EQ(messages.at(0).catalogueSignals.at(0).scaling.factor, 2);
    EXPECT_EQ(messages.at(0).catalogueSignals.at(0).scaling.offset, 1);
    EXPECT_EQ(messages.at(0).catalogueSignals.at(0).scaling.unit, QString("A"));
    EXPECT_EQ(monitor::setScalings({{"Signal", 1e308, 0, "A"}}, messages), complaint);
    message.catalogueSignals[0].layout.passThrough = true;
    messages = {message};
    EXPECT_EQ(monitor::setScalings({{"Signal", 2, 0, "A"}}, messages), complaint);
}
