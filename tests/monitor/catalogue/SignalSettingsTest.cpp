#include "Descriptions.h"

#include <catalogue/SignalNames.h>
#include <catalogue/SignalSettings.h>

#include <gtest/gtest.h>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::MessageDescription;
using monitor::SignalDescription;

namespace
{

MessageDescription messageOf(const QString& name, const QStringList& signalNames)
{
    MessageDescription message;
    message.name = name;
    for (const QString& signalName : signalNames) {
        SignalDescription signal;
        signal.name = signalName;
        signal.layout = describedLayout(0, 8);
        message.signalDescriptions.append(signal);
    }
    return message;
}

/// Speed and Load in one message, Speed and A/B in another.
QVector<MessageDescription> twoMessages()
{
    QVector<MessageDescription> messages{messageOf("Message", {"Speed", "Load"}),
                                         messageOf("Other", {"Speed", "A/B"})};
    messages[0].signalDescriptions[1].spn = 92;
    return messages;
}

QStringList namesOf(const QVector<CatalogueMessage>& messages, bool chosenOnly = false)
{
    QStringList names;
    for (const CatalogueMessage& message : messages) {
        for (const CatalogueSignal& signal : message.catalogueSignals) {
            if (signal.rules.chosen || !chosenOnly)
                names += signal.reportedName;
        }
    }
    return names;
}

QStringList chosenBy(const QStringList& patterns)
{
    QVector<CatalogueMessage> messages = monitor::giveReportedNames(twoMessages());
    EXPECT_EQ(monitor::chooseSignals(patterns, messages), QString());
    return namesOf(messages, true);
}

} // namespace

TEST(SignalNames, NameThatTwoMessagesUseIsReportedWithItsMessage)
{
    QVector<CatalogueMessage> messages = monitor::giveReportedNames(twoMessages());
    EXPECT_EQ(namesOf(messages), (QStringList{"Message.Speed", "Load", "Other.Speed", "A/B"}));
}

TEST(SignalNames, NodesAreToldApartByTheirNumbersAndNotByNames)
{
    QVector<MessageDescription> described = twoMessages();
    described[1].node = 5;
    const QVector<CatalogueMessage> messages = monitor::giveReportedNames(described);
    EXPECT_EQ(namesOf(messages), (QStringList{"Speed", "Load", "Speed", "A/B"}));
}

TEST(SignalSettings, PatternsChooseByWholeNames)
{
    EXPECT_EQ(chosenBy({}).size(), 4);
    EXPECT_EQ(chosenBy({"Load"}), QStringList{"Load"});
    EXPECT_EQ(chosenBy({"*"}).size(), 4);
    EXPECT_EQ(chosenBy({"A?B"}), QStringList{"A/B"});
    EXPECT_EQ(chosenBy({"A*"}), QStringList{"A/B"});
    EXPECT_EQ(chosenBy({"Speed"}), (QStringList{"Message.Speed", "Other.Speed"}));
    EXPECT_EQ(chosenBy({"Other.*"}), QStringList{"Other.Speed"});
    EXPECT_EQ(chosenBy({"Lo??", "A/B"}), (QStringList{"Load", "A/B"}));
    EXPECT_EQ(chosenBy({"SPN92"}), QStringList{"Load"});
}

TEST(SignalSettings, PatternThatMeansNothingIsAComplaint)
{
    for (const char* pattern : {"load", "Loa", "oad", "Load.", "Lo.d", "SPN9", "[A-Z]*", ""}) {
        QVector<CatalogueMessage> messages = monitor::giveReportedNames(twoMessages());
        EXPECT_EQ(monitor::chooseSignals({"A/B", pattern}, messages),
                  QString("there is no signal \"%1\"").arg(pattern));
        EXPECT_EQ(monitor::setLimits({{pattern, {0, 1}}}, messages),
                  QString("there is no signal \"%1\"").arg(pattern));
    }
}

TEST(SignalSettings, LastLimitsOfASignalCount)
{
    QVector<CatalogueMessage> messages = monitor::giveReportedNames(twoMessages());
    EXPECT_EQ(monitor::setLimits({{"*", {0, 1}}, {"Load", {2, 3}}}, messages), QString());
    EXPECT_EQ(messages[0].catalogueSignals[0].rules.limits->highest, 1);
    EXPECT_EQ(messages[0].catalogueSignals[1].rules.limits->lowest, 2);
    EXPECT_EQ(messages[0].catalogueSignals[1].rules.limits->highest, 3);
}
