#include "SummaryReader.h"

#include "SummarySchema.h"
#include "engine/counts/varint.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QtEndian>

#include <cmath>
#include <utility>

namespace monitor
{

namespace
{

constexpr qint64 greatestCount = std::numeric_limits<qint64>::max();

/// Adds \a added to \a sum. Returns false if the sum is too large.
bool addUp(qint64& sum, qint64 added)
{
    if (added > greatestCount - sum)
        return false;
    sum += added;
    return true;
}

/// The first bytes of the file of that name, up to the application id.
QByteArray beginningOf(const QString& fileName)
{
    constexpr qint64 size = 72;
    QFile file(fileName);
    const bool isOpen = QFileInfo(fileName).isFile() && file.open(QIODevice::ReadOnly);
    return isOpen ? file.read(size) : QByteArray();
}

QString tooMany(const QString& what)
{
    return QStringLiteral("cannot be merged: %1 would exceed 2^63 - 1").arg(what);
}

/// Keys shared by signals that may be mistaken for each other: the name, and the name without that
/// of the message, which precedes it only if another message has a signal of the same name.
QVector<QByteArray> namesakeKeys(const SummarySignal& signal)
{
    SummarySignal namesake;
    const QString& name = signal.description.reportedName;
    namesake.description.reportedName = name;
    namesake.source = signal.source;
    namesake.bus = signal.bus;
    QVector<QByteArray> keys{keyOf(namesake)};
    if (!signal.isMessageKnown())
        return keys;
    namesake.message = signal.message;
    const QString& message = signal.message.name; // in "message.name" or "message(0x123).name"
    const auto point = name.indexOf('.', message.size());
    const bool isQualified = name.startsWith(message + '.') || name.startsWith(message + '(');
    if (isQualified && point >= 0)
        namesake.description.reportedName = name.mid(point + 1);
    return keys << keyOf(namesake);
}

} // namespace

bool isDatabase(const QString& fileName)
{
    return beginningOf(fileName).startsWith(QByteArray(databaseMagic, databaseMagicSize));
}

bool isSummary(const QString& fileName)
{
    constexpr int place = 68; // of the application id
    const QByteArray beginning = beginningOf(fileName);
    return isDatabase(fileName) && beginning.size() == place + int(sizeof(quint32)) &&
           qFromBigEndian<quint32>(beginning.constData() + place) == applicationId;
}

/// The number of \a signal in the session. If it is new, it is added.
int MergedRun::add(const SummarySignal& signal, const QString& file)
{
    const QByteArray key = keyOf(signal);
    const auto known = numbers.constFind(key);
    if (known != numbers.cend())
        return *known;
    const quint16 bus = merged.addBus(signal.bus);
    const MessageSignals& added =
        merged.registry().add(std::make_unique<MonitoredSignal>(signal.message, signal.description,
                                                                signal.source, merged.keeping()),
                              bus);
    const int number = added.firstNumber;
    numbers.insert(key, number);

    bool isNamesake = false;
    for (const QByteArray& name : namesakeKeys(signal)) {
        const auto other = namesakes.constFind(name);
        if (other == namesakes.cend())
            namesakes.insert(name, {number, file});
        else if (!std::exchange(isNamesake, true))
            noteKeptApart(signal, file, *other);
    }
    return number;
}

void MergedRun::noteKeptApart(const SummarySignal& signal, const QString& file, const Known& other)
{
    QString text = QStringLiteral("%1: signal \"%2\"").arg(file, signal.description.reportedName);
    if (signal.source)
        text += QStringLiteral(" of source %1").arg(*signal.source);
    if (!signal.bus.isEmpty())
        text += QStringLiteral(" on bus %1").arg(signal.bus);
    keptApart += text + QStringLiteral(" is not merged with that of %1, because their "
                                       "definitions differ (%2)")
                            .arg(other.file == file ? QStringLiteral("the same file") : other.file,
                                 differencesBetween(summarySignalOf(merged, other.number), signal));
}

QString SummaryReader::open(const QString& fileName)
{
    if (fileName == QLatin1String("-"))
        return QStringLiteral("a summary cannot be read from standard input; write it to a file");
    const QFileInfo info(fileName);
    if (info.exists() && !info.isFile())
        return QStringLiteral("not a summary: not a regular file");
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot be read: ") + file.errorString();
    file.close();
    if (!isDatabase(fileName))
        return QStringLiteral("not a summary");
    constexpr int formats = 18; // position of the format versions for writing and reading
    if (beginningOf(fileName).mid(formats, 2).contains('\x02'))
        return QStringLiteral("cannot be read: the database is in WAL mode; run \"PRAGMA "
                              "journal_mode=delete\" on it");
    database.open(fileName);
    return findRuns();
}

QString SummaryReader::open(const QByteArray& content)
{
    database.open(content);
    return findRuns();
}

QString SummaryReader::findRuns()
{
    checkTables(database);
    Statement rows(database, "SELECT id, k, complete FROM run ORDER BY id");
    while (rows.next()) {
        SummaryRun run;
        run.id = rows.readInteger(1);
        run.k = rows.readReal();
        if (run.k < 0)
            invalid(QStringLiteral("k is negative"));
        run.isComplete = rows.readFlag();
        Statement labels(database, "SELECT key, value FROM run_label WHERE run = ? ORDER BY key");
        labels.integer(run.id);
        while (labels.next()) {
            const QString key = labels.readText();
            run.labels[key] = labels.readText();
        }
        foundRuns.push_back(run);
    }
    if (foundRuns.empty())
        invalid(QStringLiteral("there is no run"));
    Statement sealed(database, "SELECT sha256 FROM checksum WHERE EXISTS "
                               "(SELECT 1 FROM signal WHERE count > 0)");
    if (sealed.next())
        foundChecksum = sealed.readBlob();
    return database.error();
}

QString SummaryReader::addTo(MergedRun& merged, const SummaryRun& run, const QString& file)
{
    Session& session = merged.session();
    addRun(merged, run.id);
    addUndecoded(merged, run.id);
    Statement row(database, "SELECT * FROM signal WHERE run = ? ORDER BY id");
    row.integer(run.id);
    QSet<QByteArray> definitions;
    while (row.next()) {
        const qint64 id = row.readInteger(1);
        row.skip(); // the run
        SummarySignal signal = readDefinition(row);
        signal.description.valueTexts = readTexts(id, signal.description.layout);
        if (!database.isIntact())
            break;
        const QByteArray definition = keyOf(signal);
        if (definitions.contains(definition))
            invalid(QStringLiteral("signal \"%1\" occurs twice").arg(signalName));
        definitions.insert(definition);
        MonitoredSignal& known = session.registry().at(merged.add(signal, file));
        known.addTexts(signal.description.comment, signal.description.valueTexts);
        addValues(row, id, known.values(), signal.description.layout);
    }
    return database.error();
}

/// Adds everything about \a run but its signals and ids.
void SummaryReader::addRun(MergedRun& merged, qint64 run)
{
    Session& session = merged.session();
    Statement row(database, "SELECT * FROM run WHERE id = ?");
    row.integer(run);
    if (!row.next())
        return;
    row.skip();
    if (!row.readFlag())
        session.setIncomplete();
    row.skip(); // k
    FrameCounts counts;
    const auto added = pointersTo(counts);
    const auto all = pointersTo(merged.totals->counts);
    for (size_t i = 0; i < all.size(); ++i) {
        *added[i] = row.readInteger(0);
        if (!addUp(*all[i], *added[i]))
            database.fail(tooMany(QStringLiteral("a count of frames")));
    }
    if (counts.decoded > counts.total)
        invalid(QStringLiteral("more frames are decoded than received"));
    if (!database.isIntact())
        return;
    session.addCounts(counts);

    RunOrigin origin;
    Statement labels(database, "SELECT key, value FROM run_label WHERE run = ?");
    labels.integer(run);
    while (labels.next()) {
        const QString key = labels.readText();
        origin.labels[key] = labels.readText();
    }
    Statement programs(database, "SELECT version FROM run_program WHERE run = ?");
    programs.integer(run);
    while (programs.next())
        origin.programs.insert(programs.readText());
    Statement descriptions(database, "SELECT name, sha256 FROM run_description WHERE run = ?");
    descriptions.integer(run);
    while (descriptions.next()) {
        const QString name = descriptions.readText();
        const QByteArray hash = descriptions.readText().toLatin1();
        if (hash.size() != 64 || QByteArray::fromHex(hash).toHex() != hash)
            invalid(QStringLiteral("the hash of description \"%1\" is not a SHA-256").arg(name));
        origin.descriptions.insert({name, QByteArray::fromHex(hash)});
    }
    if (merged.isFirst)
        session.origin() = origin;
    else
        session.origin().merge(origin);
    merged.isFirst = false;
}

void SummaryReader::addUndecoded(MergedRun& merged, qint64 run)
{
    Session& session = merged.session();
    Statement row(database, "SELECT bus, extended, id, frames FROM undecoded WHERE run = ?");
    row.integer(run);
    while (row.next()) {
        const QString bus = row.readText();
        BusId id;
        id.extended = row.readFlag();
        id.id =
            static_cast<quint32>(row.readInteger(0, id.extended ? lastExtendedId : lastStandardId));
        const qint64 frames = row.readInteger(1);
        if (!addUp(merged.totals->undecoded, frames))
            database.fail(tooMany(QStringLiteral("the number of undecoded frames")));
        if (!database.isIntact())
            return;
        id.bus = session.addBus(bus);
        session.addUndecoded(id, frames);
    }
}

/// Reads the columns from the name to the comment.
SummarySignal SummaryReader::readDefinition(Statement& row)
{
    constexpr int longest = 64;
    constexpr int lastBit = 2048 * 8; // of the longest data
    SummarySignal signal;
    CatalogueSignal& description = signal.description;
    SignalLayout& layout = description.layout;
    signalName = description.reportedName = description.name = row.readText();
    signal.bus = row.readText();
    const auto source = row.readOptionalInteger(0, std::numeric_limits<quint8>::max());
    if (source)
        signal.source = static_cast<quint8>(*source);
    const auto isFirstOf = [&](const QString& text, const char* first, const char* second) {
        if (text != QLatin1String(first) && text != QLatin1String(second))
            invalid(QStringLiteral("\"%1\" is neither %2 nor %3").arg(text, first, second));
        return text == QLatin1String(first);
    };
    signal.message.protocol =
        isFirstOf(row.readText(), "j1939", "canopen") ? Protocol::J1939 : Protocol::CANopen;
    const auto message = row.readOptionalText();
    if (message) {
        signal.message.name = *message;
        signal.message.id = static_cast<quint32>(row.readInteger(0, lastExtendedId));
        signal.message.extended = row.readFlag();
        layout.startBit = static_cast<int>(row.readInteger(0, lastBit));
        layout.byteOrder =
            isFirstOf(row.readText(), "intel", "motorola") ? ByteOrder::Intel : ByteOrder::Motorola;
        if (message->isEmpty() || (!signal.message.extended && signal.message.id > lastStandardId))
            invalid(QStringLiteral("the name or the id of the message of signal \"%1\" is invalid")
                        .arg(signalName));
    } else {
        row.skip(4);
    }
    layout.length = static_cast<int>(row.readInteger(1, longest));
    layout.isSigned = row.readFlag();
    layout.isFloat = row.readFlag();
    const auto datatype = row.readOptionalInteger(0, std::numeric_limits<quint32>::max());
    if (datatype)
        layout.datatype = static_cast<CAN::CANopenDataType>(*datatype);
    layout.passThrough = row.readFlag();
    if (message)
        description.rules.reservesRawValues = row.readFlag();
    else
        row.skip();
    description.scaling.factor = row.readReal();
    description.scaling.offset = row.readReal();
    description.scaling.unit = row.readText();
    const auto lower = row.readOptionalReal();
    const auto upper = row.readOptionalReal();
    if (lower && upper)
        description.rules.limits = ValueRange{*lower, *upper};
    description.comment = row.readText();
    if ((layout.isFloat && layout.length != 32 && layout.length != 64) ||
        (layout.passThrough && !layout.datatype) || lower.has_value() != upper.has_value() ||
        (lower && *lower > *upper))
        invalid(QStringLiteral("the definition of signal \"%1\" is inconsistent").arg(signalName));
    return signal;
}

QHash<quint64, QString> SummaryReader::readTexts(qint64 signal, const SignalLayout& layout)
{
    QHash<quint64, QString> texts;
    Statement row(database, "SELECT raw, text FROM value_text WHERE signal = ?");
    row.integer(signal);
    while (row.next()) {
        const std::optional<quint64> bits = bitsOfRawNumber(row.readInteger(), layout);
        if (!bits)
            invalid(
                QStringLiteral("a raw value of signal \"%1\" exceeds its length").arg(signalName));
        texts.insert(bits.value_or(0), row.readText());
    }
    return texts;
}

/// Reads the columns from the count to the newest value, and adds them and the counts to \a values.
void SummaryReader::addValues(Statement& row, qint64 id, SignalValues& values,
                              const SignalLayout& layout)
{
    const qint64 count = row.readInteger(0);
    qint64 notAvailable = values.notAvailableCount();
    qint64 errors = values.errorCount();
    qint64 total = values.count();
    const bool areFew = addUp(notAvailable, row.readInteger(0)) &&
                        addUp(errors, row.readInteger(0)) && addUp(total, count);
    if (!areFew)
        return database.fail(
            tooMany(QStringLiteral("the number of values of signal \"%1\"").arg(signalName)));
    const auto first = row.readOptionalInteger();
    const auto last = row.readOptionalInteger();
    const auto newest = row.readOptionalInteger();
    const bool isAny = first.has_value();
    if (last.has_value() != isAny || newest.has_value() != isAny || (isAny && count == 0) ||
        (isAny && (*first > *last || !isRecordedTime(*first) || !isRecordedTime(*last))))
        invalid(QStringLiteral("the times of signal \"%1\" are inconsistent").arg(signalName));
    const std::optional<quint64> bits = bitsOfRawNumber(newest.value_or(0), layout);
    const quint64 newestBits = bits ? *bits : 0;
    if (!bits)
        invalid(
            QStringLiteral("the newest value of signal \"%1\" exceeds its length").arg(signalName));
    if (!database.isIntact())
        return;
    values.setCounts(notAvailable, errors);
    if (layout.passThrough)
        values.addCount(0, static_cast<quint64>(count));
    Expected expected{layout.passThrough ? 0 : count, std::nullopt, layout.isFloat};
    if (isAny && !layout.passThrough)
        expected.newest = values.keyOf(newestBits);
    addCounts(id, values, expected);
    if (isAny)
        values.addTimes({*first, *last, newestBits});
    else
        values.addTimes(SeenTimes());
}

/// Adds the counts of the signal with this \a id, which must be as \a expected.
void SummaryReader::addCounts(qint64 id, SignalValues& values, Expected expected)
{
    Statement row(database,
                  "SELECT part, entries, data FROM counts WHERE signal = ? ORDER BY part");
    row.integer(id);
    lastKey.reset();
    for (qint64 part = 0, entries = entriesPerPart; row.next(); ++part) {
        const bool isNext = row.readInteger() == part && entries == entriesPerPart;
        entries = row.readInteger(1, entriesPerPart);
        if (!isNext || !addPart(row.readBlob(), entries, values, expected))
            invalid(QStringLiteral("part %1 of the counts of signal \"%2\" is invalid")
                        .arg(part)
                        .arg(signalName));
    }
    if (expected.values > 0)
        invalid(QStringLiteral("the counts of signal \"%1\" lack %2 of its values")
                    .arg(signalName)
                    .arg(expected.values));
    if (expected.newest)
        invalid(
            QStringLiteral("the newest value of signal \"%1\" was not counted").arg(signalName));
}

/// Adds the counts in \a data, which are then no longer \a expected. Returns false if they are
/// invalid.
bool SummaryReader::addPart(const QByteArray& data, qint64 entries, SignalValues& values,
                            Expected& expected)
{
    const auto* at = reinterpret_cast<const quint8*>(data.constData());
    const quint8* const end = at + data.size();
    quint64 key = 0;
    for (qint64 i = 0; i < entries; ++i) {
        quint64 difference = 0;
        quint64 times = 0;
        if (!readVarint(at, end, difference) || !readVarint(at, end, times))
            return false;
        const bool isInRange = difference <= values.mask() - key;
        key += difference;
        if (!isInRange || (lastKey && key <= *lastKey) || times == 0 ||
            times > static_cast<quint64>(expected.values))
            return false;
        const quint64 bits = values.bitsOf(key);
        if (values.keyOf(bits) != key ||
            (expected.areFinite && !std::isfinite(values.scaled(bits))))
            return false;
        lastKey = key;
        if (key == expected.newest)
            expected.newest.reset();
        expected.values -= static_cast<qint64>(times);
        values.addCount(bits, times);
    }
    return at == end;
}

void SummaryReader::invalid(const QString& text)
{
    database.fail(QStringLiteral("invalid content: ") + text);
}

} // namespace monitor
