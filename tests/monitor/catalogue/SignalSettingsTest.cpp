#include "Descriptions.h"

#include <catalogue/SignalNames.h>
#include <catalogue/SignalSettings.h>

#include <gtest/gtest.h>

using monitor::MessageDescription;
using monitor::SignalDescription;

namespace
{

SignalDescription named(const QString& name)
{
    SignalDescription signal = describedSignal(0, 8);
    signal.name = name;
    signal.reportedName.clear();
    return signal;
}

/// Speed and Load in one message, Speed and A/B in another.
QVector<MessageDescription> twoMessages()
{
    QVector<MessageDescription> messages{describedMessage(0, {named("Speed"), named("Load")}),
                                         describedMessage(1, {named("Speed"), named("A/B")})};
    messages[1].name = "Other";
    messages[0].signalDescriptions[1].spn = 92;
    return messages;
}

QStringList namesOf(const QVector<MessageDescription>& messages, bool chosenOnly = false)
{
    QStringList names;
    for (const MessageDescription& message : messages) {
        for (const SignalDescription& signal : message.signalDescriptions) {
            if (signal.chosen || !chosenOnly)
                names += signal.reportedName;
        }
    }
    return names;
}

QStringList chosenBy(const QStringList& patterns)
{
    QVector<MessageDescription> messages = twoMessages();
    monitor::giveReportedNames(messages);
    EXPECT_EQ(monitor::chooseSignals(patterns, messages), QString());
    return namesOf(messages, true);
}

} // namespace

TEST(SignalNames, NameThatTwoMessagesUseIsReportedWithItsMessage)
{
    QVector<MessageDescription> messages = twoMessages();
    monitor::giveReportedNames(messages);
    EXPECT_EQ(namesOf(messages), (QStringList{"Message.Speed", "Load", "Other.Speed", "A/B"}));
}

TEST(SignalNames, NodesAreToldApartByTheirNumbersAndNotByNames)
{
    QVector<MessageDescription> messages = twoMessages();
    messages[1].node = 5;
    monitor::giveReportedNames(messages);
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
        QVector<MessageDescription> messages = twoMessages();
        monitor::giveReportedNames(messages);
        EXPECT_EQ(monitor::chooseSignals({"A/B", pattern}, messages),
                  QString("there is no signal \"%1\"").arg(pattern));
        EXPECT_EQ(monitor::setLimits({{pattern, {0, 1}}}, messages),
                  QString("there is no signal \"%1\"").arg(pattern));
    }
}

TEST(SignalSettings, LastLimitsOfASignalCount)
{
    QVector<MessageDescription> messages = twoMessages();
    monitor::giveReportedNames(messages);
    EXPECT_EQ(monitor::setLimits({{"*", {0, 1}}, {"Load", {2, 3}}}, messages), QString());
    EXPECT_EQ(messages[0].signalDescriptions[0].ratingLimits->highest, 1);
    EXPECT_EQ(messages[0].signalDescriptions[1].ratingLimits->lowest, 2);
    EXPECT_EQ(messages[0].signalDescriptions[1].ratingLimits->highest, 3);
}
