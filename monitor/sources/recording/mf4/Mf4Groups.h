#pragma once

#include "Mf4Blocks.h"
#include "text/Problems.h"

#include <QtCore/QStringList>

#include <vector>

namespace monitor
{

/// How raw values become values (only the conversions between numbers).
struct Mf4Conversion {
    enum Kind : quint8 {
        None = 0,
        Linear = 1,
        Rational = 2,
        Interpolated = 4,
        Table = 5,
        Ranges = 6
    };

    Kind kind = None;
    std::vector<double> values; ///< the parameters, in the order in which the file states them

    double apply(double raw) const;
};

/// Where a number is in a record. Numbers outside of the record are never described.
struct Mf4Number {
    bool isPresent = false;
    bool isConstant = false; ///< the value is \a constant in every record
    bool isIndex = false;    ///< the raw value is the number of the record
    bool isFloat = false;
    bool isSigned = false;
    bool isBigEndian = false;
    quint8 bits = 0;
    quint8 shift = 0; ///< of the value in the bytes that contain it
    quint8 bytes = 0; ///< that contain the value, up to 9
    qint64 offset = 0;
    qint64 constant = 0;
    qint64 validity = 0;       ///< offset of the byte that tells whether the value is invalid
    quint8 invalidBit = 0;     ///< in that byte; 0: always valid
    std::vector<qint64> small; ///< the converted values of all raw values of up to 8 bits
    Mf4Conversion conversion;

    bool isValid(const char* record) const
    {
        return invalidBit == 0 || (static_cast<quint8>(record[validity]) & invalidBit) == 0;
    }

    /// The raw integer of the record numbered \a index. Mf4Data::slack bytes must follow \a record.
    qint64 raw(const char* record, qint64 index) const;

    /// The raw value as a number.
    long double number(const char* record, qint64 index) const;

    /// The value, rounded to an integer.
    qint64 value(const char* record, qint64 index) const
    {
        return isConstant ? constant : calcValue(record, index);
    }

private:
    qint64 calcValue(const char* record, qint64 index) const;
};

/// The time of a record.
struct Mf4Time {
    Mf4Number master;
    bool isExact = false; ///< a raw unit is \a unit nanoseconds
    qint64 unit = 0;
    qint64 offset = 0; ///< in nanoseconds
    long double factor = 1;

    /// In nanoseconds since the start of the recording, unless it is out of range.
    std::optional<qint64> read(const char* record, qint64 index) const;
};

/// A channel group: one kind of record.
struct Mf4Group {
    enum Kind { Skipped, Data, Remote, Error, VariableLength };

    Kind kind = Skipped;
    bool isRefused = false; ///< it has CAN frames that cannot be read
    qint64 block = 0;
    quint64 recordId = 0;
    qint64 dataSize = 0;   ///< bytes of a record without invalidation bytes
    qint64 recordSize = 0; ///< bytes of a record without its id
    quint64 stated = 0;    ///< number of records, according to the file
    Mf4Time time;
    Mf4Number bus, id, ide, dlc, length, edl, brs;
    Mf4Number bytes;         ///< of variable length: the position of the data bytes
    qint64 bytesOffset = 0;  ///< of fixed length
    qint64 bytesSize = 0;    ///< of fixed length
    qint64 variableData = 0; ///< the stream of data bytes of variable length, or 0
    int variableGroup = -1;  ///< the group with the data bytes of variable length, or -1
    QByteArray busName;      ///< unless \a bus is present
};

/// A data group: one stream of records.
struct Mf4DataGroup {
    int idSize = 0; ///< bytes of the record id
    qint64 data = 0;
    std::vector<Mf4Group> groups;
};

/// The structure of an MDF 4 file.
struct Mf4Structure {
    qint64 start = 0; ///< nanoseconds since 1970-01-01
    bool isLocalTime = false;
    quint16 unfinished = 0; ///< flags of the parts that the recorder did not complete
    bool isUnfinished = false;
    std::vector<Mf4DataGroup> dataGroups; ///< those with CAN frames
    QStringList notes;
    QString error; ///< why nothing can be read; empty otherwise
};

/// Reads the structure of \a file. Groups that cannot be read are reported in \a problems.
Mf4Structure readMf4Structure(Mf4File& file, Problems& problems);

} // namespace monitor
