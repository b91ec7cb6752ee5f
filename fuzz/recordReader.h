#pragma once

#include "refusal.h"

#include <engine/PlainRecord.h>

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>

#include <cstdint>
#include <cstdlib>
#include <iostream>

/// Tells at the end of the process how much of its inputs got as far as operator>>.
struct ReadingReport {
    ~ReadingReport()
    {
        std::cerr << recordsRead << " records read, of " << inputsRead << " inputs\n";
    }
    long long inputsRead = 0;
};
inline ReadingReport readingReport;

/// The common part of the fuzz targets: reads records of type T from hostile bytes, as a host does
/// that asks nextRecordIsPlain() first. The first byte configures the stream, in its lowest bits
/// the byte order, the precision and the version; the others are the stream.
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

    /// Reads until a record is not plain or the bytes end; ends the process if one is not read as
    /// the header promises.
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
            // The first copy may differ from the bytes read: a boolean has many true ones.
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

    /// Where another version word stands, any bytes may follow: only the word is consumed.
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
