#include <catalogue/Catalogue.h>

#include <gtest/gtest.h>

using monitor::Catalogue;
using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::MessageDescription;
using monitor::Scaling;
using monitor::SignalDescription;
using monitor::SignalRules;
using monitor::ValueRange;

namespace
{

MessageDescription messageOf(const QString& name, const QStringList& signalNames)
{
    MessageDescription message;
    message.name = name;
    for (const QString& signalName : signalNames) {
        SignalDescription signal;
        signal.name = signalName;
        signal.layout.length = 8;
        message.signalDescriptions.append(signal);
    }
    return message;
}

/// One message with the signals Speed and Load, another with Speed and A/B.
QVector<MessageDescription> twoMessages()
{
    QVector<MessageDescription> messages{messageOf("Message", {"Speed", "Load"}),
                                         messageOf("Other", {"Speed", "A/B"})};
    messages[0].signalDescriptions[1].spn = 92;
    return messages;
}

QStringList namesOf(const Catalogue& catalogue, bool chosenOnly = false)
{
    QStringList names;
    for (const CatalogueMessage& message : catalogue.messages()) {
        for (const CatalogueSignal& signal : message.catalogueSignals) {
            if (signal.rules.chosen || !chosenOnly)
                names += signal.reportedName;
        }
    }
    return names;
}

QStringList chosenBy(const QStringList& patterns)
{
    Catalogue catalogue(twoMessages());
    EXPECT_EQ(catalogue.choose(patterns), QString());
    return namesOf(catalogue, true);
}

/// A message of CANopen node 5 with a signal of one byte.
MessageDescription nodeMessage()
{
    MessageDescription message = messageOf("TPDO1", {"Byte"});
    message.node = 5;
    return message;
}

QString errorOfScaling(const MessageDescription& message, const Scaling& scaling)
{
    return Catalogue({message}).apply({{"Byte", scaling}});
}

} // namespace

TEST(Catalogue, ContainsTheDescribedMessagesAndSignals)
{
    MessageDescription message = nodeMessage();
    message.id = 0x185;
    message.signalDescriptions[0].layout.startBit = 3;
    message.signalDescriptions[0].scaling = {2, 1, "A"};
    const Catalogue catalogue({message});
    ASSERT_EQ(catalogue.messages().size(), 1);
    const CatalogueMessage& known = catalogue.messages().at(0);
    EXPECT_EQ(known.name, QString("TPDO1"));
    EXPECT_EQ(known.id, 0x185U);
    EXPECT_EQ(known.node, quint8{5});
    ASSERT_EQ(known.catalogueSignals.size(), 1);
    EXPECT_EQ(known.catalogueSignals.at(0).layout.startBit, 3);
    EXPECT_EQ(known.catalogueSignals.at(0).scaling.factor, 2);
    EXPECT_EQ(known.catalogueSignals.at(0).scaling.unit, QString("A"));
}

TEST(Catalogue, AmbiguousNameIsPrefixedWithItsMessage)
{
    EXPECT_EQ(namesOf(Catalogue(twoMessages())),
              (QStringList{"Message.Speed", "Load", "Other.Speed", "A/B"}));
}

TEST(Catalogue, MessagesWithTheSameNameAreDistinguishedByTheirIds)
{
    QVector<MessageDescription> described = twoMessages() + twoMessages();
    for (int i = 0; i < described.size(); ++i)
        described[i].id = 0xA0U + static_cast<quint32>(i);
    described[2].extended = true;
    described[2].name = "Message";
    described[3].name = "Third";
    EXPECT_EQ(namesOf(Catalogue(described)),
              (QStringList{"Message(0x0A0).Speed", "Message(0x0A0).Load", "Other.Speed",
                           "Other.A/B", "Message(0x000000A2).Speed", "Message(0x000000A2).Load",
                           "Third.Speed", "Third.A/B"}));
}

TEST(Catalogue, IndistinguishableSignalsAreNumbered)
{
    EXPECT_EQ(namesOf(Catalogue({messageOf("A", {"V", "W", "V", "V"})})),
              (QStringList{"A.V", "W", "A.V(2)", "A.V(3)"}));
}

TEST(Catalogue, SameNameInDifferentNodesNeedsNoPrefix)
{
    QVector<MessageDescription> described = twoMessages();
    described[1].node = 5;
    EXPECT_EQ(namesOf(Catalogue(described)), (QStringList{"Speed", "Load", "Speed", "A/B"}));
}

TEST(Catalogue, PatternsMatchWholeNames)
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

TEST(Catalogue, PatternsMatchTheShortNameToo)
{
    QVector<MessageDescription> described = twoMessages();
    described[0].signalDescriptions[1].shortName = "Ld";
    Catalogue catalogue(described);
    EXPECT_EQ(catalogue.choose({"Ld"}), QString());
    EXPECT_EQ(namesOf(catalogue, true), QStringList{"Load"});
}

TEST(Catalogue, PatternThatMatchesNoSignalIsAnError)
{
    for (const char* pattern : {"load", "Loa", "oad", "Load.", "Lo.d", "SPN9", "[A-Z]*", ""}) {
        Catalogue catalogue(twoMessages());
        const QString error = QString("no signal matches \"%1\"").arg(pattern);
        EXPECT_TRUE(catalogue.choose({"A/B", pattern}).startsWith(error)) << pattern;
        EXPECT_TRUE(catalogue.apply({{"Load"}, {pattern}}).startsWith(error)) << pattern;
    }
}

TEST(Catalogue, ErrorSuggestsSimilarNames)
{
    Catalogue catalogue(twoMessages());
    EXPECT_EQ(catalogue.choose({"Laod"}),
              QString("no signal matches \"Laod\" (did you mean Load?)"));
    EXPECT_EQ(catalogue.apply({{"Other.Sped"}}),
              QString("no signal matches \"Other.Sped\" (did you mean Other.Speed?)"));
    EXPECT_EQ(catalogue.choose({"SPN29"}),
              QString("no signal matches \"SPN29\" (did you mean SPN92?)"));
    EXPECT_EQ(catalogue.choose({"Torque"}), QString("no signal matches \"Torque\""));
}

TEST(Catalogue, LastMatchingSettingsTakePrecedence)
{
    Catalogue catalogue(twoMessages());
    EXPECT_EQ(
        catalogue.apply(
            {{"*", {}, ValueRange{0, 1}, false}, {"Load", {}, ValueRange{2, 3}, true}, {"Load"}}),
        QString());
    const SignalRules& speed = catalogue.messages().at(0).catalogueSignals.at(0).rules;
    const SignalRules& load = catalogue.messages().at(0).catalogueSignals.at(1).rules;
    EXPECT_EQ(speed.limits->highest, 1);
    EXPECT_FALSE(speed.reservesRawValues);
    EXPECT_EQ(load.limits->lowest, 2);
    EXPECT_EQ(load.limits->highest, 3);
    EXPECT_TRUE(load.reservesRawValues);
}

TEST(Catalogue, EmptySettingsLeaveTheSignalUnchanged)
{
    MessageDescription message = nodeMessage();
    message.signalDescriptions[0].scaling = {2, 1, "A"};
    Catalogue catalogue({message});
    EXPECT_EQ(catalogue.apply({{"Byte"}}), QString());
    const CatalogueSignal& signal = catalogue.messages().at(0).catalogueSignals.at(0);
    EXPECT_EQ(signal.scaling.factor, 2);
    EXPECT_FALSE(signal.rules.limits);
    EXPECT_TRUE(signal.rules.reservesRawValues);
    EXPECT_TRUE(signal.rules.chosen);
    EXPECT_EQ(signal.rules.keptRecords, 0);
}

TEST(Catalogue, DescribedRangesAreTheLimitsOfSignalsWithoutOtherLimits)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    const QVector<ValueRange> ranges{{-5, 10}, {0, 0}, {2, 2}, {3, 1}, {0, inf}, {-1, 1}, {0, 7}};
    MessageDescription message = messageOf("M", {"A", "B", "C", "D", "E", "F", "G"});
    for (int i = 0; i < ranges.size(); ++i) {
        message.signalDescriptions[i].lowerLimit = ranges.at(i).lowest;
        message.signalDescriptions[i].upperLimit = ranges.at(i).highest;
    }
    Catalogue catalogue({message});
    EXPECT_EQ(catalogue.choose({"A", "B", "C", "D", "E", "F"}), QString());
    EXPECT_EQ(catalogue.apply({{"F", std::nullopt, ValueRange{2, 3}}}), QString());
    EXPECT_EQ(catalogue.useDescribedLimits(), 1);
    const auto& found = catalogue.messages().at(0).catalogueSignals;
    ASSERT_TRUE(found.at(0).rules.limits);
    EXPECT_EQ(found.at(0).rules.limits->lowest, -5);
    EXPECT_EQ(found.at(0).rules.limits->highest, 10);
    EXPECT_EQ(found.at(5).rules.limits->highest, 3);
    for (const int other : {1, 2, 3, 4, 6})
        EXPECT_FALSE(found.at(other).rules.limits) << other;
}

TEST(Catalogue, NumericCanopenObjectsCanBeScaled)
{
    Catalogue catalogue({nodeMessage()});
    EXPECT_EQ(catalogue.apply({{"Byte", Scaling{2, 1, "A"}}}), QString());
    const Scaling& scaling = catalogue.messages().at(0).catalogueSignals.at(0).scaling;
    EXPECT_EQ(scaling.factor, 2);
    EXPECT_EQ(scaling.offset, 1);
    EXPECT_EQ(scaling.unit, QString("A"));
}

TEST(Catalogue, ErrorSaysWhyASignalCannotBeScaled)
{
    const QString error = "signal \"Byte\" cannot be scaled: ";
    EXPECT_EQ(errorOfScaling(messageOf("Message", {"Byte"}), {2, 0, {}}),
              error + "it is not a CANopen object");
    EXPECT_EQ(errorOfScaling(nodeMessage(), {1e308, 0, {}}),
              error + "its values would exceed the range of double");
    MessageDescription message = nodeMessage();
    message.signalDescriptions[0].layout.passThrough = true;
    EXPECT_EQ(errorOfScaling(message, {2, 0, {}}), error + "its values are passed through");
}

TEST(Catalogue, KeptRecordsAreSetForEverySignal)
{
    Catalogue catalogue(twoMessages());
    catalogue.setKeptRecords(7);
    for (const CatalogueMessage& message : catalogue.messages()) {
        for (const CatalogueSignal& signal : message.catalogueSignals)
            EXPECT_EQ(signal.rules.keptRecords, 7);
    }
}
