#include "unsupported.h"

#include "bytes/ByteReader.h"
#include "lines/TextRecording.h"
#include "text/LineReader.h"

#include <algorithm>

namespace monitor
{

namespace
{

/// A kind of file that is recognised in order to say what to do about it.
struct UnsupportedFormat {
    const char* name;
    bool (*matches)(const QByteArray& start);
    const char* advice;
};

/// Whether \a start begins with the bytes of \a magic, which may contain zeros.
template <int size>
bool begins(const QByteArray& start, const char (&magic)[size])
{
    return start.startsWith(QByteArray::fromRawData(magic, size - 1));
}

bool isMdf3(const QByteArray& start)
{
    constexpr int versionAt = 8;
    constexpr int numberAt = 28;
    constexpr int firstNumberOfMdf4 = 400;
    if (!begins(start, "MDF     ") && !begins(start, "UnFinMF "))
        return false;
    if (start.size() > versionAt && (start.at(versionAt) == '2' || start.at(versionAt) == '3'))
        return true;
    if (start.size() < numberAt + 2)
        return false;
    const auto number = littleEndian<quint16>(start.constData() + numberAt);
    return number > 0 && number < firstNumberOfMdf4;
}

bool isTar(const QByteArray& start)
{
    constexpr int magicAt = 257;
    return start.mid(magicAt, 5) == "ustar";
}

/// \a start from its first line that is not blank.
QByteArray textOfStart(const QByteArray& start)
{
    const auto* const first = std::find_if(start.cbegin(), start.cend(), [](char c) {
        return c != ' ' && c != '\t' && c != '\r' && c != '\n';
    });
    return start.mid(static_cast<int>(first - start.cbegin()));
}

QByteArray firstLine(const QByteArray& start)
{
    const QByteArray text = textOfStart(start);
    const auto lineFeed = text.indexOf('\n');
    return (lineFeed < 0 ? text : text.left(lineFeed)).trimmed();
}

bool isDbc(const QByteArray& start)
{
    const QByteArray line = firstLine(start);
    return line.startsWith("VERSION \"") || line.startsWith("NS_") || line.startsWith("BS_:") ||
           line.startsWith("BO_ ");
}

bool isEds(const QByteArray& start)
{
    return findLine(start, [](std::string_view line) {
               const QByteArray section =
                   QByteArray(line.data(), static_cast<int>(line.size())).trimmed().toLower();
               return section == "[fileinfo]" || section == "[deviceinfo]";
           }) >= 0;
}

bool isJson(const QByteArray& start)
{
    const QByteArray text = textOfStart(start);
    const QByteArray inside = textOfStart(text.mid(1));
    return (text.startsWith('{') && (inside.startsWith('"') || inside.startsWith('}'))) ||
           (text.startsWith('[') && (inside.startsWith('{') || inside.startsWith('[')));
}

/// Whether the first line has several columns with names.
bool isTableOfText(const QByteArray& start)
{
    const QByteArray line = firstLine(start);
    const bool hasColumns =
        line.count(',') > 1 || line.count(';') > 1 || line.toLower() == "id,data bytes";
    return hasColumns && std::all_of(line.cbegin(), line.cend(), [](char c) {
               return static_cast<unsigned char>(c) >= ' ' || c == '\t';
           });
}

const UnsupportedFormat bytes[] = {
    {"a zip archive",
     [](const QByteArray& start) {
         return begins(start, "PK\x03\x04") || begins(start, "PK\x05\x06");
     },
     "unpack it first"},
    {"a file compressed with bzip2", [](const QByteArray& start) { return begins(start, "BZh"); },
     "unpack it first"},
    {"a file compressed with xz",
     [](const QByteArray& start) { return begins(start, "\xFD\x37zXZ\0"); }, "unpack it first"},
    {"a file compressed with LZ4",
     [](const QByteArray& start) { return begins(start, "\x04\x22\x4D\x18"); }, "unpack it first"},
    {"a 7z archive", [](const QByteArray& start) { return begins(start, "7z\xBC\xAF\x27\x1C"); },
     "unpack it first"},
    {"a tar archive", isTar, "unpack it first"},
    {"UTF-16 text",
     [](const QByteArray& start) { return begins(start, "\xFF\xFE") || begins(start, "\xFE\xFF"); },
     "convert it to UTF-8 first, for example with iconv -f UTF-16 -t UTF-8"},
    {"an MDF 3 file", isMdf3, "convert it to MDF 4 first"},
    {"a container of a data logger (\"Generic File\")",
     [](const QByteArray& start) { return begins(start, "Generic File"); },
     "convert it to MF4 with the tools of the logger first"},
    {"a summary",
     [](const QByteArray& start) {
         return begins(start, "SQLite format 3\0") && start.mid(68, 4) == "VTRL";
     },
     "use vantrel show"},
    {"an SQLite database",
     [](const QByteArray& start) { return begins(start, "SQLite format 3\0"); },
     "export its messages as a candump or ASC log first"},
    {"an HDF5 file", [](const QByteArray& start) { return begins(start, "\x89HDF\r\n\x1A\n"); },
     "export its messages as a candump or ASC log first"},
    {"a Parquet file", [](const QByteArray& start) { return begins(start, "PAR1"); },
     "export its messages as a candump or ASC log first"},
    {"a MATLAB file", [](const QByteArray& start) { return begins(start, "MATLAB 5.0 MAT-file"); },
     "export its messages as a candump or ASC log first"},
    {"a saved run", [](const QByteArray& start) { return begins(start, "VANTREL\n"); },
     "use vantrel show"},
};

const UnsupportedFormat texts[] = {
    {"a trace in \"@ TEXT @\" format",
     [](const QByteArray& start) { return firstLine(start).startsWith("@ TEXT @"); },
     "export it as a candump, ASC or TRC log first"},
    {"a DBC file, which describes messages", isDbc, "use the option --dbc for it"},
    {"an EDS or DCF file, which describes a node", isEds, "use the option --eds for it"},
    {"a SYM file, which describes messages",
     [](const QByteArray& start) { return firstLine(start).startsWith("FormatVersion="); },
     "convert it to DBC for the option --dbc"},
    {"an XML file, perhaps a description in ARXML, KCD or XDD format",
     [](const QByteArray& start) { return firstLine(start).startsWith("<"); },
     "this command needs a recording"},
    {"a JSON file", isJson, "export its messages as a candump or ASC log first"},
};

/// "is NAME: ADVICE", or nothing.
template <typename Table>
QString messageFor(const Table& table, const QByteArray& start)
{
    for (const UnsupportedFormat& format : table) {
        if (format.matches(start))
            return QStringLiteral("is %1: %2")
                .arg(QLatin1String(format.name), QLatin1String(format.advice));
    }
    return QString();
}

} // namespace

QString unsupportedBytes(const QByteArray& start)
{
    return messageFor(bytes, start);
}

QString unsupportedText(const QByteArray& start)
{
    QString message = messageFor(texts, start);
    if (!message.isEmpty() || !isTableOfText(start))
        return message;
    return QStringLiteral("is a CSV file with an unknown header (begins with %1): the header must "
                          "be \"timestamp,arbitration_id,...\" or \"Time Stamp,ID,Extended,...\", "
                          "with commas")
        .arg(beginningOf(start));
}

QString beginningOf(const QByteArray& start)
{
    constexpr int longestText = 40;
    constexpr int longestNumbers = 8;
    const QString text = textOf(firstLine(start).left(1000)).left(longestText);
    const bool isText = !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        return c.isPrint() && c != QChar::ReplacementCharacter;
    });
    return isText ? '"' + text + '"'
                  : QString::fromLatin1(start.left(longestNumbers).toHex(' ').toUpper());
}

} // namespace monitor
