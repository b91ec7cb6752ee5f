#include "SummaryWriter.h"

#include "SummarySchema.h"
#include "SummarySignal.h"
#include "engine/counts/varint.h"

#include <algorithm>
#include <tuple>

namespace monitor
{

namespace
{

/// At most the first 65,536 UTF-16 units of a comment or a text, which is much more than people
/// write. All texts of a signal must fit into a row, see Database.
QString shortened(const QString& text)
{
    constexpr int longest = 1 << 16;
    const QString beginning = text.left(longest);
    const bool isCut = beginning.size() < text.size() && beginning.back().isHighSurrogate();
    return isCut ? beginning.chopped(1) : beginning;
}

/// Writes runs, one after another.
class Writer
{
public:
    explicit Writer(Database& opened) : database(opened) {}

    void write(Session& session)
    {
        session.ignoreOrder();
        const Snapshot snapshot = session.calcSnapshot();
        const QVector<Row> rows = sortedRows(session, snapshot);
        ++run;
        writeRun(session, rows);
        for (const Row& row : rows)
            writeSignal(session.registry().at(row.number), row);
    }

private:
    struct Row {
        int number;
        SummarySignal signal;
        QByteArray key;
        std::shared_ptr<const SignalStatistics> statistics;
        SeenTimes times;
    };

    QVector<Row> sortedRows(Session& session, const Snapshot& snapshot)
    {
        QVector<Row> rows;
        rows.reserve(snapshot.rows.size());
        for (const SnapshotRow& row : snapshot.rows) {
            const SummarySignal signal = summarySignalOf(session, row.signal);
            rows.append({row.signal, signal, keyOf(signal), row.statistics,
                         session.registry().at(row.signal).values().times()});
        }
        const auto orderOf = [](const Row& row) {
            return std::tie(row.signal.description.reportedName, row.signal.bus, row.signal.source,
                            row.key);
        };
        std::sort(rows.begin(), rows.end(), [&](const Row& left, const Row& right) {
            return orderOf(left) < orderOf(right);
        });
        for (int i = 1; i < rows.size(); ++i) {
            if (rows.at(i).key == rows.at(i - 1).key)
                database.fail(QStringLiteral("two signals named \"%1\" cannot be told apart; "
                                             "write the summary from the recording and its "
                                             "descriptions")
                                  .arg(rows.at(i).signal.description.reportedName));
        }
        return rows;
    }

    void writeRun(Session& session, const QVector<Row>& rows)
    {
        SeenTimes times;
        for (const Row& row : rows) {
            if (row.times.areKnown()) {
                times.first = std::min(times.first, row.times.first);
                times.last = std::max(times.last, row.times.last);
            }
        }
        Statement row = Statement::inserting(database, "run");
        row.integer(run).integer(session.isComplete() ? 1 : 0).real(session.k());
        const FrameCounts counts = session.counts();
        for (const qint64* count : pointersTo(counts))
            row.integer(*count);
        put(row, times).run();
        const RunOrigin& origin = session.origin();
        Statement label = Statement::inserting(database, "run_label");
        for (const auto& [key, value] : origin.labels)
            label.integer(run).text(key).text(value).run();
        Statement program = Statement::inserting(database, "run_program");
        for (const QString& version : origin.programs)
            program.integer(run).text(version).run();
        Statement description = Statement::inserting(database, "run_description");
        for (const auto& [name, hash] : origin.descriptions)
            description.integer(run).text(name).text(QString::fromLatin1(hash.toHex())).run();
        writeUndecoded(session.undecodedIdsByBus());
    }

    void writeUndecoded(QVector<UndecodedId> ids)
    {
        const auto orderOf = [](const UndecodedId& id) {
            return std::tie(id.bus, id.extended, id.id);
        };
        std::sort(ids.begin(), ids.end(), [&](const UndecodedId& left, const UndecodedId& right) {
            return orderOf(left) < orderOf(right);
        });
        Statement row = Statement::inserting(database, "undecoded");
        for (const UndecodedId& id : qAsConst(ids))
            row.integer(run)
                .text(id.bus)
                .integer(id.extended ? 1 : 0)
                .integer(id.id)
                .integer(id.frames)
                .run();
    }

    static Statement& put(Statement& row, const SeenTimes& times)
    {
        return times.areKnown() ? row.integer(times.first).integer(times.last) : row.null().null();
    }

    void writeSignal(const MonitoredSignal& signal, const Row& row)
    {
        ++number;
        Statement insert = Statement::inserting(database, "signal");
        putDefinition(insert, row.signal);
        const SignalStatistics& statistics = *row.statistics;
        insert.integer(statistics.count)
            .integer(statistics.notAvailable)
            .integer(statistics.errors);
        put(insert, row.times);
        const bool hasNewest = statistics.count > 0 && statistics.isNewestKnown;
        const SignalLayout& layout = row.signal.description.layout;
        hasNewest ? insert.integer(rawNumber(signal.values().newestBits(), layout)) : insert.null();
        if (statistics.isPassedThrough)
            putPassedThrough(insert, statistics);
        else
            putStatistics(insert, statistics, hasNewest);
        insert.run();
        writeTexts(signal, row.signal.description);
        writeCounts(signal.values(), statistics.isPassedThrough);
    }

    void putDefinition(Statement& row, const SummarySignal& signal) const
    {
        const CatalogueSignal& description = signal.description;
        const SignalLayout& layout = description.layout;
        const auto optional = [](const auto& value) {
            return value ? std::optional(static_cast<qint64>(*value)) : std::nullopt;
        };
        row.integer(number).integer(run).text(description.reportedName).text(signal.bus);
        row.integer(optional(signal.source));
        row.text(signal.message.protocol == Protocol::J1939 ? "j1939" : "canopen");
        if (signal.isMessageKnown())
            row.text(signal.message.name)
                .integer(signal.message.id)
                .integer(signal.message.extended ? 1 : 0)
                .integer(layout.startBit)
                .text(layout.byteOrder == ByteOrder::Intel ? "intel" : "motorola");
        else
            row.null().null().null().null().null();
        row.integer(layout.length).integer(layout.isSigned ? 1 : 0).integer(layout.isFloat ? 1 : 0);
        row.integer(optional(layout.datatype)).integer(layout.passThrough ? 1 : 0);
        signal.isMessageKnown() ? row.integer(signal.reservesRawValues() ? 1 : 0) : row.null();
        row.real(description.scaling.factor + 0.0).real(description.scaling.offset + 0.0);
        row.text(description.scaling.unit);
        const auto& limits = description.rules.limits;
        limits ? row.real(limits->lowest).real(limits->highest) : row.null().null();
        row.text(shortened(description.comment));
    }

    /// The columns after newest_raw.
    static void putStatistics(Statement& row, const SignalStatistics& statistics, bool hasNewest)
    {
        if (statistics.count == 0) {
            for (int i = 0; i < 11; ++i)
                row.null();
            return;
        }
        hasNewest ? row.real(statistics.newest) : row.null();
        statistics.newestMeaning.isEmpty() ? row.null()
                                           : row.text(shortened(statistics.newestMeaning));
        row.real(statistics.average).real(statistics.deviation);
        row.real(statistics.minimum).real(statistics.maximum).real(statistics.median);
        hasNewest ? row.integer(statistics.rating) : row.null();
        row.real(statistics.lowerThreshold).real(statistics.upperThreshold);
        row.integer(statistics.deviators);
    }

    static void putPassedThrough(Statement& row, const SignalStatistics& statistics)
    {
        statistics.newestNumber ? row.real(*statistics.newestNumber) : row.null();
        statistics.isNewestKnown ? row.text(statistics.newestText) : row.null();
        for (int i = 2; i < 11; ++i)
            row.null();
    }

    void writeTexts(const MonitoredSignal& signal, const CatalogueSignal& description)
    {
        QVector<qint64> raw;
        for (auto text = description.valueTexts.begin(); text != description.valueTexts.end();
             ++text)
            raw.append(rawNumber(text.key(), description.layout));
        std::sort(raw.begin(), raw.end());
        Statement row = Statement::inserting(database, "value_text");
        for (const qint64 value : qAsConst(raw)) {
            const auto bits = bitsOfRawNumber(value, description.layout);
            const bool isScaled = bits && !description.layout.passThrough;
            row.integer(number).integer(value);
            isScaled ? row.real(signal.values().scaled(*bits)) : row.null();
            row.text(shortened(description.valueTexts.value(bits.value_or(0)))).run();
        }
    }

    void writeCounts(const SignalValues& values, bool isPassedThrough)
    {
        Statement row = Statement::inserting(database, "counts");
        qint64 part = 0;
        qint64 entries = 0;
        quint64 previous = 0;
        QByteArray data(entriesPerPart * 2 * longestVarint, Qt::Uninitialized);
        auto* const begin = reinterpret_cast<quint8*>(data.data());
        quint8* to = begin;
        const auto flush = [&] {
            row.integer(number).integer(part++).integer(entries);
            row.blob(data.left(static_cast<int>(to - begin))).run();
            entries = 0;
            previous = 0;
            to = begin;
        };
        quint64 counted = 0;
        values.forEachCount([&](quint64 bits, quint64 times) {
            counted += times;
            const quint64 key = values.keyOf(bits);
            to = writeVarint(writeVarint(to, key - previous), times);
            previous = key;
            if (++entries == entriesPerPart)
                flush();
        });
        if (entries > 0)
            flush();
        if (!isPassedThrough && counted != static_cast<quint64>(values.count()))
            database.fail(QStringLiteral("values are lost, because the temporary file of counts "
                                         "could not be read"));
    }

    Database& database;
    qint64 run = 0;
    qint64 number = 0; // of the signal
};

} // namespace

QString writeSummary(const QString& fileName, const std::vector<Session*>& runs)
{
    Database database;
    database.create(fileName);
    database.execute("BEGIN");
    createTables(database);
    Writer writer(database);
    for (Session* const session : runs)
        writer.write(*session);
    seal(database);
    database.execute("COMMIT");
    return database.close();
}

} // namespace monitor
