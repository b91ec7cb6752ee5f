#pragma once

#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QMap>
#include <QtCore/QVector>

#include <array>
#include <cstring>
#include <optional>

// Saved runs of all versions, composed as docs/saved-runs.md describes them.

struct FileValue {
    std::optional<qint64> microseconds;
    quint64 bits = 0;
    QVariant raw{}; // in versions 1 and 2; if invalid, the bits as an unsigned int
};

struct FileSignal {
    bool isJ1939 = true;
    qint16 source = -1;
    QByteArray name = "Signal";
    QByteArray unit{};
    quint8 length = 16;
    bool isSigned = false;
    bool isFloat = false;
    bool passThrough = false;
    double factor = 1;
    double offset = 0;
    std::optional<quint32> datatype{};
    std::optional<std::pair<double, double>> limits{};
    QByteArray comment{};
    QByteArray bus{};
    QVector<std::pair<quint64, QByteArray>> texts{};
    qint64 notAvailable = 0;
    qint64 errors = 0;
    QVector<FileValue> values{};
};

struct FileId {
    QByteArray bus;
    bool extended;
    quint32 id;
    qint64 frames;
};

struct FileRun {
    double k = 3;
    std::array<qint64, 9> counts{};
    std::optional<qint64> firstTime{};
    QVector<FileSignal> all{};
    bool isComplete = true;
    QVector<FileId> undecoded{};
};

class RunBytes
{
public:
    template <typename N>
    RunBytes& number(N value)
    {
        for (int byte = int(sizeof value) - 1; byte >= 0; --byte)
            bytes += static_cast<char>(static_cast<quint64>(value) >> (8 * byte) & 0xFF);
        return *this;
    }

    RunBytes& number(double value)
    {
        quint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return number(bits);
    }

    RunBytes& flag(bool value) { return number(quint8{value}); }

    RunBytes& text(const QByteArray& value)
    {
        number(static_cast<quint32>(value.size()));
        bytes += value;
        return *this;
    }

    RunBytes& varint(quint64 value)
    {
        for (; value > 0x7F; value /= 0x80)
            bytes += static_cast<char>(value % 0x80 + 0x80);
        bytes += static_cast<char>(value);
        return *this;
    }

    QByteArray bytes;
};

inline QByteArray bytesOfRecords(const FileSignal& signal)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << static_cast<quint32>(signal.values.size());
    for (const FileValue& value : signal.values) {
        stream << value.microseconds.value_or(std::numeric_limits<qint64>::min());
        const QVariant raw = value.raw.isValid() ? value.raw : QVariant(uint(value.bits));
        J1939Value j1939;
        CANopenObjectValue canopen;
        j1939.rawValue = canopen.rawValue = raw;
        if (signal.isJ1939)
            stream << j1939;
        else
            stream << canopen;
    }
    return bytes;
}

/// The values in one block: the first value of each signal, then the second ones, and so on.
inline QByteArray blockOf(const QVector<FileSignal>& all)
{
    RunBytes block;
    qint64 previous = 0;
    bool isAny = true;
    for (int i = 0; isAny; ++i) {
        isAny = false;
        for (int number = 0; number < all.size(); ++number) {
            const FileSignal& signal = all.at(number);
            if (i >= signal.values.size())
                continue;
            isAny = true;
            const FileValue& value = signal.values.at(i);
            block.varint(static_cast<quint64>(number) * 2 + (value.microseconds ? 1 : 0));
            if (value.microseconds) {
                const qint64 difference = *value.microseconds - previous;
                block.varint(difference < 0 ? static_cast<quint64>(-(difference + 1)) * 2 + 1
                                            : static_cast<quint64>(difference) * 2);
                previous = *value.microseconds;
            }
            for (int byte = (signal.length + 7) / 8 - 1; byte >= 0; --byte)
                block.number(static_cast<quint8>(byte < 8 ? value.bits >> (8 * byte) & 0xFF : 0));
        }
    }
    return block.bytes;
}

/// The bytes of \a run without its hash. \a block are the values from version 3 on.
inline QByteArray bytesOf(const FileRun& run, quint32 version, const QByteArray& block)
{
    RunBytes to;
    to.bytes = "VANTREL\n";
    to.number(version);
    if (version >= 3) {
        if (!block.isEmpty())
            to.text(block);
        to.number(quint32{0});
    }
    const auto place = to.bytes.size();
    to.number(run.k);
    for (const qint64 count : run.counts)
        to.number(count);
    to.flag(run.firstTime.has_value()).number(run.firstTime.value_or(0));
    to.number(static_cast<quint32>(run.all.size()));
    for (int i = 0; i < run.all.size(); ++i) {
        const FileSignal& signal = run.all.at(i);
        to.flag(signal.isJ1939).number(signal.source).text(signal.name).text(signal.unit);
        to.number(signal.length).flag(signal.isSigned).flag(signal.isFloat);
        to.flag(signal.passThrough).number(signal.factor).number(signal.offset);
        to.flag(signal.datatype.has_value()).number(signal.datatype.value_or(0));
        const auto limits = signal.limits.value_or(std::pair(0.0, 0.0));
        to.flag(signal.limits.has_value()).number(limits.first).number(limits.second);
        if (version >= 2) {
            to.text(signal.comment).text(signal.bus);
            to.number(static_cast<quint32>(signal.texts.size()));
            for (const auto& text : signal.texts)
                to.number(text.first).text(text.second);
        }
        to.number(signal.notAvailable).number(signal.errors);
        if (version >= 3)
            to.number(static_cast<quint32>(i)).number(static_cast<qint64>(signal.values.size()));
        else
            to.bytes += bytesOfRecords(signal);
    }
    if (version >= 2) {
        to.flag(run.isComplete).number(static_cast<quint32>(run.undecoded.size()));
        for (const FileId& id : run.undecoded)
            to.text(id.bus).flag(id.extended).number(id.id).number(id.frames);
    }
    if (version >= 3)
        to.number(static_cast<qint64>(place));
    return to.bytes;
}

inline QByteArray bytesOf(const FileRun& run, quint32 version)
{
    return bytesOf(run, version, blockOf(run.all));
}

/// \a content followed by its hash.
inline QByteArray hashed(const QByteArray& content)
{
    return content + QCryptographicHash::hash(content, QCryptographicHash::Sha256);
}
