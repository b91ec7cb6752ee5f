#pragma once

#include "TextRecording.h"
#include "sources/BusNames.h"
#include "text/LineCursor.h"

namespace monitor
{

/// The columns of a CSV recording, as its header names them.
struct CsvHeader {
    static constexpr int maxColumns = 128;

    enum Dialect { Unknown, PythonCan, Gvret };
    enum Field { Time, Id, Extended, Remote, Error, Length, Data, Bus, FieldCount };

    Dialect dialect = Unknown;
    int columns = 0;
    int dataColumns = 0; ///< GVRET: the number of columns D1, D2, ...
    std::array<int, FieldCount> columnOf{};
};

/// The fields of a line, without the blanks around them.
class CsvRow
{
public:
    /// Returns false if \a line has more than CsvHeader::maxColumns fields.
    [[nodiscard]] bool split(const Word& line);

    int size() const { return count; }

    /// A field, which is empty if the line has fewer fields.
    Word at(int column) const { return column < count ? fields.at(toIndex(column)) : Word(); }

private:
    static size_t toIndex(int column) { return static_cast<size_t>(column); }

    std::array<Word, CsvHeader::maxColumns> fields;
    int count = 0;
};

/// Reads a CSV recording line by line. Its header tells which program wrote it, python-can or
/// SavvyCAN (GVRET), and the order of the columns:
///
///     timestamp,arbitration_id,extended,remote,error,dlc,data
///     1483389946.197,0xdadada,1,0,0,6,WzQyLCA5XQ==
///
///     Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8
///     39747828,000005EB,false,Rx,0,8,E8,45,85,4B,4A,28,36,69,
///
/// python-can writes seconds, SavvyCAN microseconds. Blank lines and those that begin with # are
/// LineKind::Nothing, and so is a repeated header. This class is reentrant.
class CsvReader : public LineParser
{
public:
    LineKind readLine(std::string_view line, Frame& frame) override;
    QStringList buses() const override { return busNames.names(); }
    QStringList notes() const override;

private:
    LineKind readRow(const Word& line, Frame& frame);
    void complete(Frame& frame);

    CsvHeader header;
    CsvRow row;
    BusNames busNames;
    qint64 wronglyStandard = 0; // frames with 29 bits that are marked as 11
    qint64 unknownTimes = 0;
    bool hasFd = false;
};

/// The position of the first line that is a header of this format in \a start, the first bytes of a
/// recording; -1 if no line is.
qint64 findCsv(const QByteArray& start);

} // namespace monitor
