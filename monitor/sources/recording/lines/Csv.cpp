#include "Csv.h"

#include <algorithm>

namespace monitor
{

namespace
{

using Dialect = CsvHeader::Dialect;
using Field = CsvHeader::Field;

struct FieldName {
    Dialect dialect;
    Field field;
    const char* name;
};

/// The columns that a header must have, in any order and among others.
constexpr FieldName fieldNames[] = {
    {Dialect::PythonCan, Field::Time, "timestamp"},
    {Dialect::PythonCan, Field::Id, "arbitration_id"},
    {Dialect::PythonCan, Field::Extended, "extended"},
    {Dialect::PythonCan, Field::Remote, "remote"},
    {Dialect::PythonCan, Field::Error, "error"},
    {Dialect::PythonCan, Field::Length, "dlc"},
    {Dialect::PythonCan, Field::Data, "data"},
    {Dialect::Gvret, Field::Time, "time stamp"},
    {Dialect::Gvret, Field::Id, "id"},
    {Dialect::Gvret, Field::Extended, "extended"},
    {Dialect::Gvret, Field::Bus, "bus"},
    {Dialect::Gvret, Field::Length, "len"},
    {Dialect::Gvret, Field::Data, "d1"},
};

bool isSame(const Word& word, const char* name)
{
    return qstrlen(name) == static_cast<uint>(word.size) &&
           qstrnicmp(word.begin, name, static_cast<uint>(word.size)) == 0;
}

/// The column that has the \a name, if exactly one has.
int findColumn(const CsvRow& names, const char* name)
{
    int found = -1;
    for (int column = 0; column < names.size(); ++column) {
        if (!isSame(names.at(column), name))
            continue;
        if (found >= 0)
            return -1;
        found = column;
    }
    return found;
}

/// The number of columns named D1, D2, ... from \a first on.
int countDataColumns(const CsvRow& names, int first)
{
    int count = 0;
    while (isSame(names.at(first + count), ("d" + QByteArray::number(count + 1)).constData()))
        ++count;
    return count;
}

/// Looks for the columns of \a dialect.
bool readHeader(const CsvRow& names, Dialect dialect, CsvHeader& header)
{
    for (const FieldName& each : fieldNames) {
        if (each.dialect != dialect)
            continue;
        const int column = findColumn(names, each.name);
        if (column < 0)
            return false;
        header.columnOf.at(each.field) = column;
    }
    header.dialect = dialect;
    header.columns = names.size();
    if (dialect == Dialect::Gvret)
        header.dataColumns = countDataColumns(names, header.columnOf[Field::Data]);
    return true;
}

/// The header in \a line. The dialect is unknown if the line is not a header.
CsvHeader headerIn(const Word& line)
{
    CsvRow names;
    CsvHeader header;
    if (names.split(line) && !readHeader(names, Dialect::PythonCan, header))
        readHeader(names, Dialect::Gvret, header);
    return header;
}

/// \a line without a byte order mark.
Word textIn(std::string_view line)
{
    LineCursor cursor(line);
    cursor.takeText("\xEF\xBB\xBF");
    return cursor.rest();
}

/// A decimal number: digits times a power of ten.
struct Decimal {
    bool isNegative = false;
    quint64 digits = 0;
    int exponent = 0;
};

/// Reads digits. Those for which there is no room are replaced by zeros.
bool readDigits(LineCursor& cursor, bool isFraction, Decimal& decimal)
{
    constexpr quint64 most = 922337203685477579; // more would not fit into 63 bits
    if (!isDigit(cursor.peek()))
        return false;
    while (isDigit(cursor.peek())) {
        const auto digit = static_cast<quint64>(cursor.take() - '0');
        if (decimal.digits <= most) {
            decimal.digits = decimal.digits * 10 + digit;
            decimal.exponent -= isFraction ? 1 : 0;
        } else {
            decimal.exponent += isFraction ? 0 : 1;
        }
    }
    return true;
}

bool readExponent(LineCursor& cursor, Decimal& decimal)
{
    if (!cursor.take('e') && !cursor.take('E'))
        return true;
    const bool isNegative = cursor.take('-');
    if (!isNegative)
        cursor.take('+');
    constexpr quint32 last = 999;
    quint32 exponent = 0;
    if (!readNumber(cursor.takeWord(), 10, last, exponent))
        return false;
    decimal.exponent += isNegative ? -static_cast<int>(exponent) : static_cast<int>(exponent);
    return true;
}

/// Reads a number such as "12", "-12.5" or "1e-05".
bool readDecimal(const Word& word, Decimal& decimal)
{
    LineCursor cursor(word);
    decimal.isNegative = cursor.take('-');
    return readDigits(cursor, false, decimal) &&
           (!cursor.take('.') || readDigits(cursor, true, decimal)) &&
           readExponent(cursor, decimal) && cursor.atEnd();
}

/// \a decimal as a whole number, without its fraction; nothing if it is not a possible time.
std::optional<qint64> timeOf(Decimal decimal)
{
    constexpr quint64 latest = latestTime;
    for (; decimal.exponent < 0 && decimal.digits > 0; ++decimal.exponent)
        decimal.digits /= 10;
    for (; decimal.exponent > 0 && decimal.digits > 0; --decimal.exponent) {
        if (decimal.digits > latest / 10)
            return std::nullopt;
        decimal.digits *= 10;
    }
    if (decimal.digits > latest || (decimal.isNegative && decimal.digits > 0))
        return std::nullopt;
    return static_cast<qint64>(decimal.digits);
}

/// Reads a time in the unit of the dialect. A time out of range is unknown.
bool readTime(const Word& word, Dialect dialect, Frame& frame)
{
    Decimal decimal;
    if (!readDecimal(word, decimal))
        return false;
    decimal.exponent += dialect == Dialect::PythonCan ? 9 : 3; // to nanoseconds
    frame.nanoseconds = timeOf(decimal);
    return true;
}

bool readFlag(const Word& word, const char* no, const char* yes, bool& flag)
{
    flag = isSame(word, yes);
    return flag || isSame(word, no);
}

/// Returns 64 for any other character.
constexpr quint32 base64Digit(char c)
{
    if (c >= 'A' && c <= 'Z')
        return static_cast<quint32>(c - 'A');
    if (c >= 'a' && c <= 'z')
        return static_cast<quint32>(c - 'a' + 26);
    if (c >= '0' && c <= '9')
        return static_cast<quint32>(c - '0' + 52);
    return c == '+' ? 62 : c == '/' ? 63 : 64;
}

/// Reads the data of a frame in base64 (RFC 4648) with padding.
bool readBase64(Word word, Frame& frame)
{
    if (word.size % 4 != 0)
        return false;
    for (int padding = 0; padding < 2 && !word.isEmpty() && word.last() == '='; ++padding)
        --word.size;
    quint32 bits = 0;
    int bitCount = 0;
    for (int i = 0; i < word.size; ++i) {
        const quint32 digit = base64Digit(word.at(i));
        if (digit == 64)
            return false;
        bits = bits << 6 | digit;
        bitCount += 6;
        if (bitCount < 8)
            continue;
        bitCount -= 8;
        if (frame.length == frame.data.size())
            return false;
        frame.data.at(frame.length++) = static_cast<quint8>(bits >> bitCount);
        bits &= (1U << bitCount) - 1;
    }
    return bits == 0;
}

/// A row and the columns that its header gives it.
struct Fields {
    const CsvHeader& header;
    const CsvRow& row;

    Word operator[](Field field) const { return row.at(header.columnOf.at(field)); }
};

LineKind readPythonCan(const Fields& fields, Frame& frame)
{
    bool isError = false;
    Word id = fields[Field::Id];
    if (id.size < 3 || id.at(0) != '0' || id.at(1) != 'x')
        return LineKind::Unknown;
    id = {id.begin + 2, id.size - 2};
    quint32 length = 0;
    if (fields.row.size() < fields.header.columns ||
        !readFlag(fields[Field::Extended], "0", "1", frame.extended) ||
        !readFlag(fields[Field::Remote], "0", "1", frame.remote) ||
        !readFlag(fields[Field::Error], "0", "1", isError))
        return LineKind::Unknown;
    if (isError)
        return LineKind::ErrorFrame;
    if (!readNumber(id, 16, frame.extended ? lastExtendedId : lastStandardId, frame.id) ||
        !readNumber(fields[Field::Length], 10, 64, length) ||
        !readBase64(fields[Field::Data], frame))
        return LineKind::Unknown;
    if (frame.remote)
        return frame.length == 0 ? LineKind::Frame : LineKind::Unknown;
    if (frame.length < length)
        return LineKind::Unknown;
    frame.length = static_cast<quint8>(length);
    return LineKind::Frame;
}

bool isBus(const Word& word)
{
    quint32 ignored = 0;
    return word.size <= 5 && readNumber(word, 10, 0xFFFF, ignored);
}

// A byte must have two digits, so that a truncated one is not read as a smaller number.
bool readByte(const Word& word, quint8& byte)
{
    quint32 number = 0;
    if (word.size != 2 || !readNumber(word, 16, 0xFF, number))
        return false;
    byte = static_cast<quint8>(number);
    return true;
}

bool readBytes(const Fields& fields, quint32 count, Frame& frame)
{
    const int first = fields.header.columnOf[Field::Data];
    frame.length = static_cast<quint8>(count);
    for (quint32 i = 0; i < count; ++i) {
        if (!readByte(fields.row.at(first + static_cast<int>(i)), frame.data.at(i)))
            return false;
    }
    return true;
}

LineKind readGvret(const Fields& fields, Frame& frame)
{
    const auto columns = static_cast<quint32>(fields.header.dataColumns);
    quint32 length = 0;
    const bool isRead = readFlag(fields[Field::Extended], "false", "true", frame.extended) &&
                        readNumber(fields[Field::Id], 16, lastExtendedId, frame.id) &&
                        isBus(fields[Field::Bus]) &&
                        readNumber(fields[Field::Length], 10, std::min(columns, 64U), length) &&
                        readBytes(fields, length, frame);
    return isRead ? LineKind::Frame : LineKind::Unknown;
}

} // namespace

bool CsvRow::split(const Word& line)
{
    count = 0;
    const char* const end = line.begin + line.size;
    for (const char* begin = line.begin; count < CsvHeader::maxColumns; ++begin) {
        const char* const comma = std::find(begin, end, ',');
        Word& field = fields.at(toIndex(count++));
        field = {begin, static_cast<int>(comma - begin)};
        while (!field.isEmpty() && isBlank(*field.begin)) {
            ++field.begin;
            --field.size;
        }
        while (!field.isEmpty() && isBlank(field.last()))
            --field.size;
        if (comma == end)
            return true;
        begin = comma;
    }
    return false;
}

LineKind CsvReader::readLine(std::string_view line, Frame& frame)
{
    const Word text = textIn(line);
    LineCursor cursor(text);
    cursor.skipBlanks();
    if (cursor.atEnd() || cursor.peek() == '#')
        return LineKind::Nothing;
    const LineKind kind = readRow(text, frame);
    if (kind != LineKind::Unknown)
        return kind;
    const CsvHeader read = headerIn(text);
    if (read.dialect == Dialect::Unknown)
        return LineKind::Unknown;
    header = read;
    return LineKind::Nothing;
}

LineKind CsvReader::readRow(const Word& line, Frame& frame)
{
    if (header.dialect == Dialect::Unknown || !row.split(line))
        return LineKind::Unknown;
    for (int column = header.columns; column < row.size(); ++column) {
        if (!row.at(column).isEmpty())
            return LineKind::Unknown;
    }
    const Fields fields{header, row};
    const bool isGvret = header.dialect == CsvHeader::Gvret;
    Frame read;
    const LineKind kind = isGvret ? readGvret(fields, read) : readPythonCan(fields, read);
    if (kind != LineKind::Frame)
        return kind;
    if (!readTime(fields[CsvHeader::Time], header.dialect, read))
        return LineKind::Unknown;
    const Word bus = isGvret ? fields[CsvHeader::Bus] : Word{"", 0};
    read.bus = busNames.indexOf(bus.begin, bus.size);
    complete(read);
    frame = read;
    return LineKind::Frame;
}

/// Adds the properties of a frame that a row does not state, or states wrongly.
void CsvReader::complete(Frame& frame)
{
    if (!frame.extended && frame.id > lastStandardId) {
        frame.extended = true;
        ++wronglyStandard;
    }
    frame.fd = frame.length > longestClassicFrame;
    hasFd = hasFd || frame.fd;
    unknownTimes += frame.nanoseconds ? 0 : 1;
}

QStringList CsvReader::notes() const
{
    QStringList notes;
    if (wronglyStandard > 0)
        notes +=
            QStringLiteral("%1 frame(s) are marked as not extended but have an id above 0x7FF; "
                           "they are read as extended")
                .arg(wronglyStandard);
    if (hasFd)
        notes += QStringLiteral("the format does not mark CAN FD; only frames of more than 8 bytes "
                                "are read as CAN FD");
    if (unknownTimes > 0)
        notes += QStringLiteral("%1 frame(s) have a time out of range; their time is unknown")
                     .arg(unknownTimes);
    return notes;
}

qint64 findCsv(const QByteArray& start)
{
    return findLine(start, [](std::string_view line) {
        return headerIn(textIn(line)).dialect != CsvHeader::Unknown;
    });
}

} // namespace monitor
