#include <publishers/mqtt/MqttConnection.h>
#include <publishers/mqtt/mqttSettings.h>

#include <gtest/gtest.h>

using monitor::MqttSettings;
using monitor::SignalStatistics;

namespace
{

struct Address {
    const char* url;
    const char* host;
    int port;
    bool isEncrypted;
    const char* prefix;
};

QByteArray topicOf(const QString& name, std::optional<quint8> source = std::nullopt)
{
    SignalStatistics statistics;
    statistics.name = name;
    statistics.source = source;
    return monitor::mqttTopic("p", statistics);
}

} // namespace

TEST(MqttSettings, AddressHasAHostAPortAndAPrefix)
{
    for (const Address& address :
         {Address{"mqtt://broker/vantrel", "broker", 1883, false, "vantrel"},
          Address{"mqtts://broker/vantrel/", "broker", 8883, true, "vantrel"},
          Address{"mqtt://[::1]:1884/fleet/17", "::1", 1884, false, "fleet/17"},
          Address{"mqtts://127.0.0.1:1/a%20b%40c", "127.0.0.1", 1, true, "a b@c"}}) {
        MqttSettings settings;
        EXPECT_EQ(monitor::readMqttAddress(address.url, settings), QString()) << address.url;
        EXPECT_EQ(settings.host, QString(address.host)) << address.url;
        EXPECT_EQ(settings.port, address.port) << address.url;
        EXPECT_EQ(settings.isEncrypted, address.isEncrypted) << address.url;
        EXPECT_EQ(settings.prefix, QByteArray(address.prefix)) << address.url;
    }
    MqttSettings settings;
    for (const char* const invalid : {"mqtt://broker/a%2Bb", "mqtt://broker/a%23", "mqtt://broker/",
                                      "mqtt://broker/%00", "mqtt://broker:65536/a"})
        EXPECT_EQ(monitor::readMqttAddress(invalid, settings),
                  QString("needs mqtt://HOST[:PORT]/PREFIX, or mqtts:// for TLS, and a PREFIX "
                          "without + or #, not \"%1\"")
                      .arg(invalid));
}

TEST(MqttTopic, HasTheNameAndTheSourceOfTheSignal)
{
    EXPECT_EQ(topicOf("EngineSpeed", quint8(0)), QByteArray("p/signals/EngineSpeed/0"));
    EXPECT_EQ(topicOf("Motor temperature"), QByteArray("p/signals/Motor temperature/-"));
    EXPECT_EQ(topicOf("100 %/+#", quint8(254)), QByteArray("p/signals/100 %25%2F%2B%23/254"));
    EXPECT_EQ(topicOf(QString::fromUtf8("\u00d6l\t") + QChar(0) + QChar(0x85)),
              QByteArray("p/signals/\u00d6l%09%00%C2%85/-"));
    for (int c = 0; c < 0x100; ++c)
        EXPECT_TRUE(monitor::isValidMqttTopic(topicOf(QChar(c)))) << c;
    EXPECT_FALSE(monitor::isValidMqttTopic(topicOf(QString(70000, 'a'))));
}
