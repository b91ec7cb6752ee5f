#include "DbcReader.h"

#include "DbcAttributes.h"
#include "DbcMultiplexing.h"
#include "DbcScanner.h"
#include "can/Frame.h"

#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QPair>
#include <QtCore/QSet>

#include <cmath>
#include <functional>
#include <optional>

namespace monitor
{

namespace
{

constexpr quint32 extendedFlag = 0x80000000;
constexpr int longestMessage = 1785; // bytes, the limit of the J1939 transport protocol
constexpr int longestSignal = 64;    // bits
constexpr qint64 longestFile = qint64{256} * 1024 * 1024;

/// The number of the pseudo-message for signals that do not belong to a message.
constexpr quint32 independentSignals = 0xC0000000;

/// A message as written in the file.
struct DbcMessage : MessageHeader {
    quint32 number = 0; ///< the id, with bit 31 set if it has 29 bits
    QVector<DbcSignal> dbcSignals;
};

/// Converts the number of a message in the file to DbcMessage::number.
quint32 normalized(quint32 number)
{
    if (number == independentSignals)
        return number;
    if ((number & extendedFlag) != 0)
        return number & (extendedFlag | lastExtendedId);
    return number > lastStandardId && number <= lastExtendedId ? number | extendedFlag : number;
}

/// Numbers, as written in the file, and their texts.
using ValueTexts = QVector<QPair<QString, QString>>;

/// The bits of the raw value \a number of a signal; empty if the signal cannot have it.
std::optional<quint64> rawBitsOf(const QString& number, const SignalLayout& layout)
{
    bool isReal = false;
    const double real = number.toDouble(&isReal);
    if (layout.isFloat)
        return isReal ? std::optional(bitsOfFloat(real, layout.length)) : std::nullopt;
    bool isWhole = false;
    auto bits = static_cast<quint64>(number.toLongLong(&isWhole));
    if (!isWhole && !layout.isSigned)
        bits = number.toULongLong(&isWhole);
    constexpr double exactIntegers = 9007199254740992; // such as "1.0"
    if (!isWhole && isReal && std::fabs(real) <= exactIntegers && std::trunc(real) == real) {
        bits = static_cast<quint64>(static_cast<qint64>(real));
        isWhole = true;
    }
    const int unused = 64 - layout.length; // bits
    const quint64 raw = bits << unused >> unused;
    const auto extended = static_cast<quint64>(static_cast<qint64>(bits << unused) >> unused);
    const bool isNegative = real < 0;
    const bool fits = layout.isSigned ? bits == extended : bits == raw && !isNegative;
    return isWhole && fits ? std::optional(raw) : std::nullopt;
}

/// Sets the value texts of \a signal, except those of values that it cannot have. Returns how many
/// are not of whole numbers.
int setValueTexts(DbcSignal& signal)
{
    int fractions = 0;
    for (const auto& [number, text] : qAsConst(signal.writtenTexts)) {
        if (const std::optional<quint64> bits = rawBitsOf(number, signal.layout))
            signal.valueTexts.insert(*bits, text);
        else if (const double value = number.toDouble(); std::trunc(value) != value)
            ++fractions;
    }
    return fractions;
}

/// Reads the sections of a DBC file in order.
class DbcParser
{
public:
    DbcParser(const QByteArray& content, Problems& found)
        : scanner(decodeDbc(content)), problems(found)
    {
    }

    void parse();

    QVector<MessageDescription> messages(const DescriptionFile& file, QString& note);

private:
    void parseSection();
    void skipKeywordList();
    void addMessage();
    [[nodiscard]] QString parseMessage(DbcMessage& message);
    [[nodiscard]] bool takeNumber(quint32& number);
    [[nodiscard]] bool takeMessageNumber(quint32& number);
    void addSignal();
    [[nodiscard]] QString parseSignal(DbcSignal& signal);
    [[nodiscard]] static bool readMarker(QString marker, DbcSignal& signal);
    [[nodiscard]] bool takeLayout(SignalLayout& layout);
    [[nodiscard]] bool takePair(const char* symbols, double& first, double& second);
    [[nodiscard]] QString checkSignal(const DbcSignal& signal);
    DbcSignal* find(quint32 number, const QString& name);
    void parseValueType();
    void parseMultiplexing();
    [[nodiscard]] bool takeRange(RawRange& range);
    void parseValueTexts();
    void parseValueTable();
    [[nodiscard]] bool takeValueTexts(ValueTexts& texts);
    void parseComment();
    void parseDefinition();
    void parseDefault();
    void parseAttribute();
    DbcValue takeValue();
    void setAttribute(const QString& attribute, quint32 number, const DbcValue& value);
    void setAttribute(const QString& attribute, quint32 number, const QString& name,
                      const DbcValue& value);
    void refer(quint32 number, const QString& name, const QString& section,
               const std::function<void(DbcSignal&)>& apply);
    Protocol protocolOf(const DbcMessage& message, const std::optional<Protocol>& given);

    enum class Holder { Nobody, LastMessage, Ignored };

    DbcScanner scanner;
    Problems& problems;
    qint64 sectionLine = 0; // of the section that is being read
    QVector<DbcMessage> dbcMessages;
    QHash<quint32, int> indices;                       // of messages by number
    QHash<QPair<quint32, QString>, int> signalIndices; // by number of the message and name
    Holder holder = Holder::Nobody;
    quint32 lastNumber = 0; // of the last message, even if ignored
    DbcAttributes attributes;
    QHash<QString, ValueTexts> valueTables;
    QHash<quint32, QString> longNames; // of messages by number
    QHash<quint32, QString> comments;  // of messages by number
    QVector<std::function<void()>> references;
    QSet<QPair<quint32, QString>> refusedSignals; // signals by the number of their message
    int assumedJ1939 = 0; // undeclared messages with 29-bit ids taken as J1939
    int assumedPlain = 0; // undeclared messages with 29-bit ids matched by the exact id
};

void DbcParser::parse()
{
    while (!scanner.atEnd())
        parseSection();
    for (const auto& applyReference : qAsConst(references))
        applyReference();
    if (scanner.lineOfOpenText() != 0)
        problems.add(scanner.lineOfOpenText(), QStringLiteral("missing closing quotation mark"));
}

void DbcParser::parseSection()
{
    static const QHash<QString, void (DbcParser::*)()> sections{
        {QStringLiteral("BO_"), &DbcParser::addMessage},
        {QStringLiteral("SG_"), &DbcParser::addSignal},
        {QStringLiteral("SIG_VALTYPE_"), &DbcParser::parseValueType},
        {QStringLiteral("SG_MUL_VAL_"), &DbcParser::parseMultiplexing},
        {QStringLiteral("VAL_"), &DbcParser::parseValueTexts},
        {QStringLiteral("VAL_TABLE_"), &DbcParser::parseValueTable},
        {QStringLiteral("CM_"), &DbcParser::parseComment},
        {QStringLiteral("BA_DEF_"), &DbcParser::parseDefinition},
        {QStringLiteral("BA_DEF_DEF_"), &DbcParser::parseDefault},
        {QStringLiteral("BA_"), &DbcParser::parseAttribute},
        {QStringLiteral("NS_"), &DbcParser::skipKeywordList},
    };
    static const QStringList withoutSemicolon{QStringLiteral("VERSION"), QStringLiteral("BS_"),
                                              QStringLiteral("BU_")};
    sectionLine = scanner.line();
    const QString keyword = scanner.takeWord();
    const auto section = sections.value(keyword);
    if (section != nullptr)
        (this->*section)();
    else if (withoutSemicolon.contains(keyword))
        scanner.skipToKeyword();
    else
        scanner.skipSection();
}

/// Skips the list after NS_, whose keywords have no meaning there. It ends at BS_ or, if BS_ is
/// missing, at BU_ or BO_.
void DbcParser::skipKeywordList()
{
    static const QStringList ends{QStringLiteral("BS_"), QStringLiteral("BU_"),
                                  QStringLiteral("BO_")};
    while (scanner.take(':') || !scanner.peekWord().isEmpty()) {
        if (ends.contains(scanner.peekWord()))
            return;
        scanner.takeWord();
    }
}

void DbcParser::addMessage()
{
    DbcMessage message;
    message.line = sectionLine;
    const QString error = parseMessage(message);
    scanner.skipToKeyword();
    holder = Holder::Ignored;
    lastNumber = message.number;
    if (message.number == independentSignals)
        return;
    if (!error.isEmpty())
        return problems.add(message.line, error + QStringLiteral("; its signals are skipped"));
    if (indices.contains(message.number))
        return problems.add(
            message.line,
            QStringLiteral("message \"%1\" is not decoded: it has the same id as \"%2\"")
                .arg(message.name, dbcMessages.at(indices.value(message.number)).name));
    indices.insert(message.number, static_cast<int>(dbcMessages.size()));
    dbcMessages.append(message);
    holder = Holder::LastMessage;
}

/// Reads a message such as "2364540158 EEC1: 8 Engine". Returns an error message, or an empty
/// string on success.
QString DbcParser::parseMessage(DbcMessage& message)
{
    QString unparsable = QStringLiteral("message (BO_) cannot be parsed");
    quint32 written = 0;
    if (!takeNumber(written))
        return unparsable;
    message.number = normalized(written);
    message.name = scanner.takeName();
    if (message.name.isEmpty() || !scanner.take(':'))
        return unparsable;
    const QString size = scanner.takeDigits();
    if (size.isEmpty())
        return unparsable;
    bool isNumber = false;
    message.size = size.toInt(&isNumber);
    if (!isNumber || message.size > longestMessage)
        return QStringLiteral("message (BO_) has a size out of range");
    message.extended = (message.number & extendedFlag) != 0;
    message.id = message.number & ~extendedFlag;
    if (message.id > lastExtendedId)
        return QStringLiteral("message (BO_) has an id out of range");
    if (message.number != written && message.number != independentSignals)
        problems.add(
            message.line,
            QStringLiteral("message \"%1\" is decoded with the 29-bit id 0x%2: %3")
                .arg(message.name, QString::number(message.id, 16).toUpper(),
                     (written & extendedFlag) == 0
                         ? QStringLiteral("its id has more than 11 bits, although bit 31 is 0")
                         : QStringLiteral("bits 29 and 30 of its id are ignored")));
    return QString();
}

bool DbcParser::takeNumber(quint32& number)
{
    bool isNumber = false;
    number = scanner.takeDigits().toUInt(&isNumber);
    return isNumber;
}

/// Takes the number of a message in the form of DbcMessage::number.
bool DbcParser::takeMessageNumber(quint32& number)
{
    const bool isNumber = takeNumber(number);
    number = normalized(number);
    return isNumber;
}

void DbcParser::addSignal()
{
    DbcSignal signal;
    signal.line = sectionLine;
    const QString error = parseSignal(signal);
    scanner.skipToKeyword(); // skips the receivers
    if (holder == Holder::Nobody)
        return problems.add(signal.line, QStringLiteral("signal (SG_) without a message"));
    if (holder == Holder::LastMessage && error.isEmpty()) {
        QVector<DbcSignal>& dbcSignals = dbcMessages.last().dbcSignals;
        if (find(lastNumber, signal.name) == nullptr)
            signalIndices.insert({lastNumber, signal.name}, static_cast<int>(dbcSignals.size()));
        dbcSignals.append(signal);
        return;
    }
    refusedSignals.insert({lastNumber, signal.name});
    if (holder == Holder::LastMessage)
        problems.add(signal.line, error);
}

/// Reads a signal such as "EngineSpeed : 24|16@1+ (0.125,0) [0|8031.875] "rpm"". Returns an error
/// message, or an empty string on success.
QString DbcParser::parseSignal(DbcSignal& signal)
{
    QString unparsable = QStringLiteral("signal (SG_) cannot be parsed");
    signal.name = scanner.takeName();
    const QString marker = scanner.takeName();
    if (signal.name.isEmpty() || !readMarker(marker, signal) || !scanner.take(':') ||
        !takeLayout(signal.layout) ||
        !takePair("(,)", signal.scaling.factor, signal.scaling.offset) ||
        !takePair("[|]", signal.lowerLimit, signal.upperLimit))
        return unparsable;
    const std::optional<QString> unit = scanner.takeUnit();
    if (!unit)
        return unparsable;
    signal.scaling.unit = unit->simplified();
    return checkSignal(signal);
}

/// Parses the multiplexing marker of a signal: M, m5, m5M, or an empty string.
bool DbcParser::readMarker(QString marker, DbcSignal& signal)
{
    signal.isSwitch = marker.endsWith('M');
    if (signal.isSwitch)
        marker.chop(1);
    if (marker.isEmpty())
        return true;
    bool isNumber = false;
    signal.switchValue = marker.mid(1).toULongLong(&isNumber);
    return marker.startsWith('m') && isNumber;
}

/// Reads "24|16@1+".
bool DbcParser::takeLayout(SignalLayout& layout)
{
    bool isStart = false;
    bool isLength = false;
    layout.startBit = scanner.takeDigits().toInt(&isStart);
    if (!isStart || !scanner.take('|'))
        return false;
    layout.length = scanner.takeDigits().toInt(&isLength);
    if (!isLength || !scanner.take('@'))
        return false;
    const QString order = scanner.takeDigits();
    layout.byteOrder = order == QLatin1String("1") ? ByteOrder::Intel : ByteOrder::Motorola;
    layout.isSigned = scanner.take('-');
    return (order == QLatin1String("0") || order == QLatin1String("1")) &&
           (layout.isSigned || scanner.take('+'));
}

/// Reads two numbers that the three \a symbols enclose and separate, such as "(0.125,0)".
bool DbcParser::takePair(const char* symbols, double& first, double& second)
{
    bool isFirst = false;
    bool isSecond = false;
    if (!scanner.take(symbols[0]))
        return false;
    first = scanner.takeNumber().toDouble(&isFirst);
    if (!scanner.take(symbols[1]))
        return false;
    second = scanner.takeNumber().toDouble(&isSecond);
    return isFirst && isSecond && scanner.take(symbols[2]);
}

/// Returns an error message if \a signal cannot be decoded, otherwise an empty string. A signal
/// that can be decoded but is suspicious is reported as a problem.
QString DbcParser::checkSignal(const DbcSignal& signal)
{
    const auto refused = [&signal](const QString& reason) {
        return QStringLiteral("signal \"%1\" is not decoded: %2").arg(signal.name, reason);
    };
    if (signal.layout.length == 0)
        return refused(QStringLiteral("its length is 0"));
    if (signal.layout.length > longestSignal)
        return refused(QStringLiteral("it is longer than %1 bits").arg(longestSignal));
    if (signal.layout.startBit >= longestMessage * 8)
        return refused(QStringLiteral("its start bit is out of range"));
    const ValueRange range = scaledRange(signal.layout, signal.scaling);
    if (!std::isfinite(range.lowest) || !std::isfinite(range.highest))
        return refused(QStringLiteral("its values would exceed the range of double"));
    if (signal.scaling.factor == 0)
        problems.add(signal.line, QStringLiteral("signal \"%1\" has a factor of 0, so its value is "
                                                 "always %2")
                                      .arg(signal.name)
                                      .arg(signal.scaling.offset));
    if (holder != Holder::LastMessage)
        return QString();
    const DbcMessage& message = dbcMessages.last();
    if (find(message.number, signal.name) != nullptr)
        problems.add(
            signal.line,
            QStringLiteral("signal \"%1\" has the same name as another signal of its message")
                .arg(signal.name));
    const int size = message.size;
    if (size > 0 && !fitsInto(signal.layout, size))
        problems.add(signal.line,
                     QStringLiteral("signal \"%1\" extends beyond its message of %2 bytes: "
                                    "it is only decoded from longer frames")
                         .arg(signal.name)
                         .arg(size));
    return QString();
}

/// The signal with that name in the message with that number, or null.
DbcSignal* DbcParser::find(quint32 number, const QString& name)
{
    const auto index = signalIndices.constFind({number, name});
    return index == signalIndices.cend() ? nullptr
                                         : &dbcMessages[indices.value(number)].dbcSignals[*index];
}

/// Reads "SIG_VALTYPE_ 2364540158 EngineSpeed : 1;".
void DbcParser::parseValueType()
{
    quint32 number = 0;
    const bool isMessage = takeMessageNumber(number);
    const QString name = scanner.takeWord();
    scanner.take(':'); // some tools leave it out
    const QString type = scanner.takeDigits();
    const bool isValid = isMessage && !name.isEmpty() && type.size() == 1 &&
                         type.at(0) <= QLatin1Char('3') && scanner.peek() == ';';
    scanner.skipSection();
    if (!isValid)
        return problems.add(sectionLine,
                            QStringLiteral("value type (SIG_VALTYPE_) cannot be parsed"));
    constexpr int floatBits[] = {0, 32, 64, 0};
    const int bits = floatBits[type.toInt()];
    refer(number, name, QStringLiteral("value type (SIG_VALTYPE_)"),
          [this, bits, line = sectionLine](DbcSignal& signal) {
              signal.layout.isFloat = bits != 0 && signal.layout.length == bits;
              if (signal.layout.isFloat != (bits != 0))
                  problems.add(
                      line, QStringLiteral("signal \"%1\" is decoded as a whole number: it has %3 "
                                           "bits, but its floating-point type has %2")
                                .arg(signal.name)
                                .arg(bits)
                                .arg(signal.layout.length));
          });
}

/// Reads "SG_MUL_VAL_ 2147483649 Signal Multiplexor 0-0, 3-5;".
void DbcParser::parseMultiplexing()
{
    quint32 number = 0;
    const bool isMessage = takeMessageNumber(number);
    const QString name = scanner.takeWord();
    const QString multiplexor = scanner.takeWord();
    QVector<RawRange> values;
    bool isValid = isMessage && !multiplexor.isEmpty();
    do {
        RawRange range{};
        isValid = isValid && takeRange(range);
        values += range;
    } while (isValid && scanner.take(','));
    isValid = isValid && scanner.peek() == ';';
    scanner.skipSection();
    if (!isValid)
        problems.add(sectionLine, QStringLiteral("multiplexing (SG_MUL_VAL_) cannot be parsed"));
    if (!isValid && name.isEmpty())
        return;
    refer(number, name, QStringLiteral("multiplexing (SG_MUL_VAL_)"),
          [multiplexor, values, isValid](DbcSignal& signal) {
              signal.isUnclear = signal.isUnclear || !isValid;
              if (signal.switchName != multiplexor)
                  signal.switchValues.clear();
              signal.switchName = multiplexor;
              signal.switchValues += values;
          });
}

/// Reads "3-5"; a single number is a range too.
bool DbcParser::takeRange(RawRange& range)
{
    bool isLowest = false;
    range.lowest = scanner.takeDigits().toULongLong(&isLowest);
    range.highest = range.lowest;
    bool isHighest = true;
    if (scanner.take('-'))
        range.highest = scanner.takeDigits().toULongLong(&isHighest);
    return isLowest && isHighest && range.lowest <= range.highest;
}

/// Reads "VAL_ 2364540158 EngineTorqueMode 0 "low idle" 1 "accelerator";", or the name of a table
/// of such texts. Texts of environment variables, which have no message, are skipped.
void DbcParser::parseValueTexts()
{
    if (!scanner.peek().isDigit())
        return scanner.skipSection();
    quint32 number = 0;
    const bool isMessage = takeMessageNumber(number);
    const QString name = scanner.takeName();
    const QString table = scanner.peek().isDigit() ? QString() : scanner.takeName();
    ValueTexts texts;
    const bool isValid = isMessage && !name.isEmpty() && takeValueTexts(texts);
    scanner.skipSection();
    if (!isValid)
        return problems.add(sectionLine, QStringLiteral("value texts (VAL_) cannot be parsed"));
    refer(number, name, QStringLiteral("value texts (VAL_)"),
          [this, table, texts](DbcSignal& signal) {
              signal.writtenTexts += table.isEmpty() ? texts : valueTables.value(table);
          });
}

/// Reads "VAL_TABLE_ Switch 0 "off" 1 "on";".
void DbcParser::parseValueTable()
{
    const QString name = scanner.takeName();
    ValueTexts texts;
    const bool isValid = !name.isEmpty() && takeValueTexts(texts);
    scanner.skipSection();
    if (isValid)
        valueTables.insert(name, texts);
    else
        problems.add(sectionLine, QStringLiteral("value texts (VAL_TABLE_) cannot be parsed"));
}

/// Reads pairs of a number and a text, up to the semicolon.
bool DbcParser::takeValueTexts(ValueTexts& texts)
{
    while (scanner.peek().isDigit() || scanner.peek() == '-') {
        const QString number = scanner.takeNumber();
        const std::optional<QString> text = scanner.takeText();
        if (!text)
            return false;
        texts.append({number, text->simplified()});
    }
    return scanner.peek() == ';';
}

/// Reads the comment of a message or a signal, such as CM_ SG_ 2364540158 EngineSpeed "of the
/// crankshaft"; A comment that cannot be parsed is skipped, since no value depends on it.
void DbcParser::parseComment()
{
    const QString owner = scanner.peek().isLetter() ? scanner.takeWord() : QString();
    const bool isOfSignal = owner == QLatin1String("SG_");
    quint32 number = 0;
    if ((isOfSignal || owner == QLatin1String("BO_")) && takeMessageNumber(number)) {
        const QString name = isOfSignal ? scanner.takeName() : QString();
        const QString text = scanner.takeText().value_or(QString()).trimmed();
        if (isOfSignal)
            references.append([=] {
                if (DbcSignal* const signal = find(number, name))
                    signal->comment = text;
            });
        else
            comments.insert(number, text);
    }
    scanner.skipSection();
}

/// Reads the definition of an attribute of the file or of messages, such as
/// BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN";
void DbcParser::parseDefinition()
{
    if (scanner.peek() != '"')
        scanner.takeWord(); // such as BO_
    const std::optional<QString> attribute = scanner.takeText();
    const QString type = scanner.takeWord();
    QStringList texts;
    if (type == QLatin1String("ENUM")) {
        do
            texts += scanner.takeText().value_or(QString());
        while (scanner.take(','));
    }
    scanner.skipSection();
    if (attribute)
        attributes.define(*attribute, texts);
}

/// Reads BA_DEF_DEF_ "VFrameFormat" "J1939PG";
void DbcParser::parseDefault()
{
    const std::optional<QString> attribute = scanner.takeText();
    const DbcValue value = takeValue();
    scanner.skipSection();
    if (attribute)
        attributes.setDefault(*attribute, value);
}

/// Reads the value of an attribute of the file, of a message or of a signal, such as
/// BA_ "SPN" SG_ 2364540158 EngineSpeed 190;
void DbcParser::parseAttribute()
{
    const QString attribute = scanner.takeText().value_or(QString());
    const QString owner = scanner.peek().isLetter() ? scanner.takeWord() : QString();
    quint32 number = 0;
    if ((owner == QLatin1String("BO_") || owner == QLatin1String("SG_")) &&
        !takeMessageNumber(number)) {
        problems.add(sectionLine, QStringLiteral("attribute (BA_) cannot be parsed"));
    } else if (owner.isEmpty()) {
        attributes.setValue(attribute, takeValue());
    } else if (owner == QLatin1String("BO_")) {
        setAttribute(attribute, number, takeValue());
    } else if (owner == QLatin1String("SG_")) {
        const QString name = scanner.takeWord();
        setAttribute(attribute, number, name, takeValue());
    }
    scanner.skipSection();
}

/// Takes a text or a number.
DbcValue DbcParser::takeValue()
{
    if (scanner.peek() == '"')
        return {scanner.takeText().value_or(QString()), false};
    return {scanner.takeNumber(), true};
}

/// Applies an attribute to a message.
void DbcParser::setAttribute(const QString& attribute, quint32 number, const DbcValue& value)
{
    const QString text = value.text.simplified();
    if (attribute == QLatin1String("SystemMessageLongSymbol") && !text.isEmpty())
        longNames.insert(number, text);
    attributes.setValue(attribute, number, value);
}

/// Applies an attribute to a signal if the program uses that attribute.
void DbcParser::setAttribute(const QString& attribute, quint32 number, const QString& name,
                             const DbcValue& value)
{
    if (attribute == QLatin1String("SystemSignalLongSymbol"))
        refer(number, name, QStringLiteral("long name (BA_)"),
              [value](DbcSignal& signal) { signal.longName = value.text.simplified(); });
    if (attribute != QLatin1String("SPN"))
        return;
    constexpr quint32 lastSpn = 0x7FFFF; // 19 bits
    bool isNumber = false;
    const quint32 spn = value.text.toUInt(&isNumber);
    if (!isNumber || spn > lastSpn)
        return problems.add(sectionLine, QStringLiteral("SPN (BA_) is out of range"));
    refer(number, name, QStringLiteral("SPN (BA_)"), [spn](DbcSignal& signal) {
        if (spn != 0) // 0 is the usual default for signals without an SPN
            signal.spn = spn;
    });
}

/// Calls \a apply with the signal once all messages are known, since sections may come in any
/// order. If there is no such signal, reports a problem whose text begins with \a section.
void DbcParser::refer(quint32 number, const QString& name, const QString& section,
                      const std::function<void(DbcSignal&)>& apply)
{
    references.append([=, line = sectionLine] {
        DbcSignal* const signal = find(number, name);
        if (signal != nullptr)
            apply(*signal);
        else if (number != independentSignals && !refusedSignals.contains({number, name}))
            problems.add(line, section + QStringLiteral(" refers to an unknown signal"));
    });
}

/// The messages in the order of the file. If the file does not declare which messages with 29-bit
/// ids are J1939, \a note reports the assumptions.
QVector<MessageDescription> DbcParser::messages(const DescriptionFile& file, QString& note)
{
    QVector<MessageDescription> described;
    int extendedMessages = 0;
    for (DbcMessage& message : dbcMessages) {
        message.name = longNames.value(message.number, message.name);
        extendedMessages += message.extended ? 1 : 0;
        message.comment = comments.value(message.number);
        message.cycleTime = attributes.cycleTime(message.number);
        message.protocol =
            message.extended ? protocolOf(message, file.protocol) : Protocol::CANopen;
        for (DbcSignal& signal : message.dbcSignals) {
            if (const int fractions = setValueTexts(signal))
                problems.add(signal.line,
                             QStringLiteral("signal \"%1\": %2 value text(s) not of whole numbers")
                                 .arg(signal.name)
                                 .arg(fractions));
        }
        described.append({message, resolveMultiplexing(message.dbcSignals, problems)});
    }
    const int assumed = assumedJ1939 + assumedPlain;
    if (assumed > 0)
        note = QStringLiteral(
                   "%1: does not declare whether %2 of its %3 message(s) with 29-bit ids "
                   "are J1939: %4 with source address 254 treated as J1939, %5 matched by "
                   "their exact ids (use --j1939 or --plain instead of --dbc to change this)")
                   .arg(file.fileName)
                   .arg(assumed)
                   .arg(extendedMessages)
                   .arg(assumedJ1939)
                   .arg(assumedPlain);
    return described;
}

/// How frames of a message with a 29-bit id are matched: by its PGN (J1939) or by its exact id.
Protocol DbcParser::protocolOf(const DbcMessage& message, const std::optional<Protocol>& given)
{
    if (given)
        return *given;
    std::optional<bool> isJ1939 = attributes.isJ1939(message.number);
    if (!isJ1939)
        isJ1939 = attributes.isJ1939();
    if (!isJ1939) {
        isJ1939 = sourceAddressOf(message.id) == nullAddress;
        ++(*isJ1939 ? assumedJ1939 : assumedPlain);
    }
    return *isJ1939 ? Protocol::J1939 : Protocol::CANopen;
}

} // namespace

ReadDescription parseDbc(const QByteArray& content, const DescriptionFile& file)
{
    ReadDescription read;
    read.problems = Problems(file.fileName, QStringLiteral("problem(s) found"));
    DbcParser parser(content, read.problems);
    parser.parse();
    read.messages = parser.messages(file, read.note);
    if (read.messages.isEmpty())
        read.error =
            QStringLiteral("%1: describes no messages. Is it a DBC file?").arg(file.fileName);
    return read;
}

ReadDescription readDbcFile(const DescriptionFile& file)
{
    ReadDescription read;
    QFile input(file.fileName);
    const QByteArray content =
        input.open(QIODevice::ReadOnly) ? input.read(longestFile + 1) : QByteArray();
    if (input.error() != QFileDevice::NoError)
        read.error =
            QStringLiteral("%1: cannot be read: %2").arg(file.fileName, input.errorString());
    else if (content.size() > longestFile)
        read.error = QStringLiteral("%1: is larger than %2 MiB. Is it a DBC file?")
                         .arg(file.fileName)
                         .arg(longestFile / 1024 / 1024);
    else
        read = parseDbc(content, file);
    return read;
}

} // namespace monitor
