#include "SavedRunWriter.h"

#include "SavedSignal.h"
#include "text/WholeFile.h"

#include "engine/counts/varint.h"

#include <QtCore/QtEndian>

namespace monitor
{

namespace
{

constexpr int bitsInByte = 8;
constexpr int bitsInWord = 64;

/// 0, -1, 1, -2, 2 and so on become 0, 1, 2, 3, 4.
quint64 zigzag(qint64 number)
{
    return static_cast<quint64>(number) << 1 ^ static_cast<quint64>(number >> (bitsInWord - 1));
}

} // namespace

void SavedRunWriter::take(const RecordedValue& value)
{
    constexpr qint64 nanosecondsPerMicrosecond = 1000;
    WrittenSignal& signal = signalOf(value.number, value.signal.description());
    if (signal.isStreamed && value.availability == Availability::Measured)
        append(signal, value.bits,
               value.nanoseconds ? *value.nanoseconds / nanosecondsPerMicrosecond
                                 : SignalSeries::noTime);
}

void SavedRunWriter::clear()
{
    if (isIntact && written > 0)
        isIntact = file.resize(0) && file.seek(0);
    hash.reset();
    known.clear();
    signalCount = 0;
    used = 0;
    previous = 0;
    written = 0;
}

bool SavedRunWriter::finish(Session& session)
{
    appendKept(session.registry());
    flush();
    const QByteArray contents = contentsOf(session);
    write(contents.constData(), contents.size());
    const QByteArray sum = hash.result();
    write(sum.constData(), sum.size());
    return isIntact;
}

QString SavedRunWriter::error() const
{
    return isIntact ? QString() : couldNotBeCompleted(file);
}

/// The signal with this \a number in the session.
SavedRunWriter::WrittenSignal& SavedRunWriter::signalOf(int number,
                                                        const CatalogueSignal& description)
{
    const auto place = static_cast<size_t>(number);
    if (place >= known.size())
        known.resize(place + 1);
    WrittenSignal& signal = known[place];
    if (signal.number < 0)
        signal = {signalCount++, (description.layout.length + bitsInByte - 1) / bitsInByte,
                  description.rules.keptRecords == 0, 0};
    return signal;
}

void SavedRunWriter::append(WrittenSignal& signal, quint64 bits, qint64 microseconds)
{
    constexpr size_t longestValue = 28; // two numbers of up to 10 bytes and the value itself
    if (block.size() - used < longestValue)
        flush();
    const bool hasTime = microseconds != SignalSeries::noTime;
    quint8* to = block.data() + used;
    to = writeVarint(to, static_cast<quint64>(signal.number) << 1 | (hasTime ? 1 : 0));
    if (hasTime) {
        to = writeVarint(to, zigzag(microseconds - previous));
        previous = microseconds;
    }
    qToBigEndian(bits << (bitsInWord - bitsInByte * signal.bytes),
                 to); // 8 bytes, of which only the first are kept
    used = static_cast<size_t>(to - block.data()) + static_cast<size_t>(signal.bytes);
    ++signal.values;
}

/// Writes the values of signals that keep only the newest ones, which are known at the end.
void SavedRunWriter::appendKept(SignalRegistry& registry)
{
    for (const int number : registry.sorted()) {
        const MonitoredSignal& signal = registry.at(number);
        WrittenSignal& saved = signalOf(number, signal.description());
        if (saved.isStreamed)
            continue;
        const SignalRecords records = signal.getRecords();
        for (int i = 0; i < records.bits.size(); ++i)
            append(saved, records.bits.at(i), records.microseconds.at(i));
    }
}

/// The bytes after the blocks of values, without the hash.
QByteArray SavedRunWriter::contentsOf(Session& session)
{
    QByteArray contents;
    QDataStream stream(&contents, QIODevice::WriteOnly);
    configureForSavedRun(stream);
    stream << quint32{0}; // the end of the blocks
    const qint64 position = written + contents.size();
    SignalRegistry& registry = session.registry();
    stream << session.k();
    monitor::write(stream, SavedStart{session.counts(), registry.firstTime()});
    stream << static_cast<quint32>(registry.sorted().size());
    for (const int number : registry.sorted()) {
        const MonitoredSignal& signal = registry.at(number);
        const WrittenSignal& saved = signalOf(number, signal.description());
        const SignalStatistics& identity = signal.identity();
        monitor::write(stream,
                       SavedSignal{identity.protocol, identity.source, identity.bus,
                                   signal.description(), signal.values().notAvailableCount(),
                                   signal.values().errorCount()});
        stream << static_cast<quint32>(saved.number) << saved.values;
    }
    monitor::write(stream, SavedEnd{session.isComplete(), session.undecodedIds()});
    stream << position;
    return contents;
}

/// Writes the block and makes room for the next one.
void SavedRunWriter::flush()
{
    const auto writeNumber = [this](quint32 number) {
        const quint32 bytes = qToBigEndian(number);
        write(reinterpret_cast<const char*>(&bytes), sizeof bytes);
    };
    if (written == 0) {
        write(savedRunMagic, savedRunMagicSize);
        writeNumber(savedRunVersion);
    }
    if (used > 0) {
        writeNumber(static_cast<quint32>(used));
        write(reinterpret_cast<const char*>(block.data()), static_cast<qint64>(used));
    }
    block.resize(largestValueBlock);
    used = 0;
}

void SavedRunWriter::write(const char* data, qint64 size)
{
    isIntact = isIntact && writeAll(file, data, size);
    hash.addData(QByteArray::fromRawData(data, static_cast<int>(size)));
    written += size;
}

} // namespace monitor
