#include <outputs/ReportJson.h>
#include <views/ReportCsv.h>
#include <views/ReportFields.h>
#include <views/ReportTable.h>

#include <gtest/gtest.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>

using monitor::FrameCounts;
using monitor::Protocol;
using monitor::SignalReport;

namespace
{

SignalReport measuredReport()
{
    SignalReport report;
    report.name = "EngineSpeed";
    report.protocol = Protocol::J1939;
    report.source = quint8{49};
    report.unit = "rpm";
    report.count = 5;
    report.newest = 14;
    report.average = 16.1;
    report.deviation = 1.0 / 3;
    report.minimum = -12;
    report.maximum = 1e21;
    report.median = 5e-324;
    report.rating = 73;
    report.lowerThreshold = 0.1 + 0.2;
    report.upperThreshold = -0.125;
    report.deviators = 2;
    report.notAvailable = 7;
    report.errors = 9;
    return report;
}

SignalReport emptyReport()
{
    SignalReport report;
    report.name = "Page";
    report.errors = 1;
    return report;
}

QJsonObject parsed(const QString& json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << json.toStdString();
    return document.object();
}

} // namespace

TEST(ReportJson, HasExactlyTheDocumentedMembers)
{
    FrameCounts counts;
    counts.total = 10;
    counts.decoded = 4;
    counts.dropped = 12;
    counts.errors = 3;
    const QJsonObject json = parsed(monitor::formatJson({measuredReport()}, counts));
    EXPECT_EQ(json.keys(), (QStringList{"frames", "signals"}));
    const QJsonObject frames{
        {"total", 10}, {"decoded", 4}, {"undecoded", 6}, {"dropped", 12}, {"errors", 3}};
    EXPECT_EQ(json.value("frames").toObject(), frames);
    const QJsonObject signal{{"name", "EngineSpeed"},
                             {"kind", "j1939"},
                             {"source", 49},
                             {"count", 5},
                             {"notAvailable", 7},
                             {"error", 9},
                             {"newest", 14},
                             {"average", 16.1},
                             {"deviation", 1.0 / 3},
                             {"minimum", -12},
                             {"maximum", 1e21},
                             {"median", 5e-324},
                             {"rating", 73},
                             {"lowerThreshold", 0.1 + 0.2},
                             {"upperThreshold", -0.125},
                             {"deviators", 2},
                             {"unit", "rpm"}};
    ASSERT_EQ(json.value("signals").toArray().size(), 1);
    EXPECT_EQ(json.value("signals").toArray().at(0).toObject(), signal);
}

TEST(ReportJson, WhatASignalDoesNotHaveIsNull)
{
    const QJsonObject json = parsed(monitor::formatJson({emptyReport()}, FrameCounts()));
    const QJsonObject signal = json.value("signals").toArray().at(0).toObject();
    EXPECT_EQ(signal.size(), 17);
    for (const char* name : {"source", "newest", "average", "deviation", "minimum", "maximum",
                             "median", "rating", "lowerThreshold", "upperThreshold", "deviators"})
        EXPECT_TRUE(signal.value(QLatin1String(name)).isNull()) << name;
    EXPECT_EQ(signal.value("kind"), QJsonValue("canopen"));
    EXPECT_EQ(signal.value("count"), QJsonValue(0));
    EXPECT_EQ(signal.value("error"), QJsonValue(1));
    EXPECT_EQ(signal.value("unit"), QJsonValue(""));
}

TEST(ReportJson, NoSignalsAreAnEmptyArray)
{
    const QJsonObject json = parsed(monitor::formatJson({}, FrameCounts()));
    EXPECT_TRUE(json.value("signals").isArray());
    EXPECT_TRUE(json.value("signals").toArray().isEmpty());
}

// Read back by the C library, which knows nothing of how Qt writes them.
TEST(ReportJson, EveryDoubleIsReadBackAsItWas)
{
    std::mt19937_64 random(1939);
    for (int i = 0; i < 100000; ++i) {
        const quint64 bits = random();
        double number = 0;
        static_assert(sizeof number == sizeof bits);
        std::memcpy(&number, &bits, sizeof number);
        if (!std::isfinite(number))
            continue;
        const QByteArray text = monitor::toJson(number).toLatin1();
        ASSERT_EQ(std::strtod(text.constData(), nullptr), number) << text.constData();
    }
}

TEST(ReportJson, TextsAreEscaped)
{
    SignalReport report = emptyReport();
    report.name = "a\"b\\c\n\x01";
    report.unit = QString::fromUtf8("°C");
    const QString json = monitor::formatJson({report}, FrameCounts());
    const QJsonObject signal = parsed(json).value("signals").toArray().at(0).toObject();
    EXPECT_EQ(signal.value("name").toString(), report.name);
    EXPECT_EQ(signal.value("unit").toString(), report.unit);
}

TEST(ReportCsv, HasTheSameFieldsAsTheJson)
{
    EXPECT_EQ(monitor::formatCsv({measuredReport()}),
              QString("name,kind,source,count,notAvailable,error,newest,average,deviation,minimum,"
                      "maximum,median,rating,lowerThreshold,upperThreshold,deviators,unit\r\n"
                      "EngineSpeed,j1939,49,5,7,9,14,16.1,0.3333333333333333,-12,1e+21,5e-324,73,"
                      "0.30000000000000004,-0.125,2,rpm\r\n"));
}

TEST(ReportCsv, WhatIsNullIsEmptyAndTextsAreQuotedWhereNeeded)
{
    SignalReport report = emptyReport();
    report.name = "a,\"b\"";
    report.unit = "m\r\ns";
    EXPECT_EQ(monitor::formatCsv({report}).section("\r\n", 1),
              QString("\"a,\"\"b\"\"\",canopen,,0,0,1,,,,,,,,,,,\"m\r\ns\"\r\n"));
}

TEST(ReportTable, MessagesOfSeveralFramesAreCountedUnlessThereAreNone)
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    EXPECT_EQ(monitor::formatTransport({0, 0, 0, 0}), QString());
    EXPECT_EQ(monitor::formatTransport({most, most, 2, 0}),
              QString("transport   9223372036854775807 message(s), 0 interrupted; packets: "
                      "9223372036854775807 lost, 2 out of order\n"));
}
