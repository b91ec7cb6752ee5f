#include <catalogue/ConfigFile.h>

#include <gtest/gtest.h>

#include <random>

using monitor::Config;
using monitor::readConfig;
using monitor::SignalSettings;

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
    const Config config = readConfig(valid);
    ASSERT_EQ(config.error, QString());
    EXPECT_EQ(config.k, 2.5);
    ASSERT_EQ(config.settings.size(), 3);
    const SignalSettings& gear = config.settings.at(0);
    EXPECT_EQ(gear.pattern, QString("Gear*"));
    EXPECT_FALSE(gear.scaling);
    EXPECT_EQ(gear.limits->highest, 0);
    EXPECT_EQ(gear.reservesRawValues, false);
    const SignalSettings& load = config.settings.at(1);
    EXPECT_EQ(load.pattern, QString("Load"));
    EXPECT_FALSE(load.limits);
    EXPECT_EQ(load.reservesRawValues, true);
    const SignalSettings& speed = config.settings.at(2);
    EXPECT_EQ(speed.pattern, QString("Speed"));
    EXPECT_EQ(speed.scaling->factor, 0.1);
    EXPECT_EQ(speed.scaling->offset, -2);
    EXPECT_EQ(speed.scaling->unit, QString("rpm"));
    EXPECT_EQ(speed.limits->lowest, -1);
    EXPECT_EQ(speed.limits->highest, 3000);
    EXPECT_EQ(speed.reservesRawValues, std::nullopt);
}

TEST(ConfigFile, AllSettingsAreOptional)
{
    EXPECT_EQ(readConfig("{}").error, QString());
    EXPECT_FALSE(readConfig("{}").k);
    const Config config = readConfig(R"({"signals": {"Speed": {}}})");
    EXPECT_EQ(config.error, QString());
    ASSERT_EQ(config.settings.size(), 1);
    EXPECT_EQ(config.settings.at(0).pattern, QString("Speed"));
    EXPECT_FALSE(config.settings.at(0).scaling);
}

TEST(ConfigFile, UnitWithoutFactorScalesBy1)
{
    const Config config = readConfig(R"({"signals": {"Speed": {"unit": "rpm"}}})");
    EXPECT_EQ(config.settings.at(0).scaling->factor, 1);
    EXPECT_EQ(config.settings.at(0).scaling->offset, 0);
}

TEST(ConfigFile, InvalidSettingsAreErrors)
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
        EXPECT_FALSE(readConfig(text).error.isEmpty()) << text;
    }
}

TEST(ConfigFile, ErrorNamesTheLine)
{
    EXPECT_TRUE(readConfig("{\n\"k\": 1,\n oops\n}").error.startsWith("line 3: "));
}

TEST(ConfigFile, ErrorNamesTheSignalAndTheSetting)
{
    EXPECT_EQ(readConfig(R"({"signals": {"A": {"factor": 0}}})").error,
              QString("signal \"A\": factor must be a number other than 0"));
    EXPECT_EQ(readConfig(R"({"signals": {"A": {"offest": 1}}})").error,
              QString("signal \"A\": unknown setting \"offest\" (did you mean offset?)"));
    EXPECT_EQ(readConfig(R"({"signal": {}})").error,
              QString("unknown setting \"signal\" (did you mean signals?)"));
}

TEST(ConfigFile, ErrorNamesAnUnreadableFile)
{
    EXPECT_TRUE(monitor::readConfigFile("/nowhere/x.json")
                    .error.startsWith("/nowhere/x.json: cannot be read: "));
}

TEST(ConfigFile, TruncationIsAnErrorAndDamageDoesNotCrash)
{
    for (int size = 0; size < valid.size(); ++size) {
        EXPECT_FALSE(readConfig(valid.left(size)).error.isEmpty()) << size;
    }
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        QByteArray text = valid;
        for (auto damage = 1 + random() % 4; damage > 0; --damage)
            text[static_cast<uint>(random()) % static_cast<uint>(text.size())] =
                static_cast<char>(random());
        const Config config = readConfig(text);
        if (!config.error.isEmpty())
            continue;
        for (const SignalSettings& settings : config.settings) {
            const auto limits = settings.limits.value_or(monitor::ValueRange{0, 0});
            ASSERT_LE(limits.lowest, limits.highest);
        }
    }
}
