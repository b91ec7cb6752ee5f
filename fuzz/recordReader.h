#pragma once

#include "refusal.h"

#include <engine/saving/PlainRecord.h>

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <cstdint>
#include <cstdlib>
#include <iostream>

/// Prints at the end of the process how many of its inputs reached operator>>.
struct ReadingReport {
    ~ReadingReport()
    {
        std::cerr << recordsRead << " records read, of " << inputsRead << " inputs\n";
    }
    long long inputsRead = 0;
};
inline ReadingReport readingReport;

/// The common part of the targets of records: reads records of type T from hostile bytes, like a
/// host that calls nextRecordIsPlain() first. The first byte configures the stream: the lowest bit
/// the byte order, the next one the precision, the others the version. The stream follows.
template <typename T>
class RecordReader
{
public:
    RecordReader(const std::uint8_t* data, std::size_t size)
        : settings(size > 0 ? data[0] : 0),
          bytes(reinterpret_cast<const char*>(data), static_cast<int>(size))
    {
        bytes.remove(0, 1);
    }

    /// Reads until a record is not plain or the bytes end. Aborts if a record is not read as its
    /// header promises.
    void readAll() const
    {
        QDataStream stream(bytes);
        configure(stream);
        inputRefused = !monitor::nextRecordIsPlain(stream);
        const long long readBefore = recordsRead;
        while (monitor::nextRecordIsPlain(stream)) {
            T record;
            stream >> record;
            if (stream.status() != QDataStream::Ok)
                return;
            if (recordsRead++ == readBefore)
                ++readingReport.inputsRead;
            // The first copy may differ from the bytes read: any byte but 0 is true.
            const QByteArray copy = written(record);
            const T again = readBack(copy);
            require(again.rawValue.userType() == record.rawValue.userType());
            require(again.scaledValue.userType() == record.scaledValue.userType());
            require(written(again) == copy);
        }
        refuseOtherVersion(stream);
    }

private:
    static void require(bool held)
    {
        if (!held)
            std::abort();
    }

    void configure(QDataStream& stream) const
    {
        stream.setByteOrder(settings & 1 ? QDataStream::LittleEndian : QDataStream::BigEndian);
        stream.setFloatingPointPrecision(settings & 2 ? QDataStream::SinglePrecision
                                                      : QDataStream::DoublePrecision);
        constexpr int versions = QDataStream::Qt_5_15 - QDataStream::Qt_5_0 + 1;
        stream.setVersion(QDataStream::Qt_5_0 + (settings >> 2) % versions);
    }

    QByteArray written(const T& record) const
    {
        QByteArray result;
        QDataStream stream(&result, QIODevice::WriteOnly);
        configure(stream);
        stream << record;
        require(stream.status() == QDataStream::Ok);
        return result;
    }

    T readBack(const QByteArray& copy) const
    {
        QDataStream stream(copy);
        configure(stream);
        require(monitor::nextRecordIsPlain(stream, longestTextRead));
        T record;
        stream >> record;
        require(stream.status() == QDataStream::Ok && stream.atEnd());
        return record;
    }

    /// If the version is not the known one, only the version is consumed, whatever follows.
    void refuseOtherVersion(QDataStream& stream) const
    {
        const QByteArray rest = stream.device()->peek(2);
        if (rest.size() < 2 || rest == written(T()).left(2))
            return;
        T record;
        record.rawValue = 44;
        record.scaledValue = 55;
        const qint64 before = stream.device()->pos();
        stream >> record;
        require(stream.device()->pos() == before + 2 && stream.status() == QDataStream::Ok);
        require(record.rawValue == 44 && record.scaledValue == 55 && record.valueTag == 0);
    }

    static constexpr quint32 longestTextRead = 4096;
    const std::uint8_t settings;
    QByteArray bytes;
};
