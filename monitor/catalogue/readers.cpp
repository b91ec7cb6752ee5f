#include "readers.h"

#include "dbc/DbcReader.h"
#include "eds/EdsReader.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace monitor
{

namespace
{

/// Reads a DBC file. Its messages with 29-bit ids are matched by the rules of \a protocol, whatever
/// the file declares.
template <Protocol protocol>
ReadDescription readDbcFileAs(const DescriptionFile& file)
{
    DescriptionFile ruled = file;
    ruled.protocol = protocol;
    return readDbcFile(ruled);
}

} // namespace

const QVector<DescriptionReader>& descriptionReaders()
{
    static const QVector<DescriptionReader> readers{
        {"dbc",
         "FILE.dbc",
         "DBC file with the messages and signals of a J1939 or other network.",
         false,
         true,
         readDbcFile,
         {"dbc"}},
        {"j1939",
         "FILE.dbc",
         "Like --dbc, but treat all messages with 29-bit ids as J1939.",
         false,
         true,
         readDbcFileAs<Protocol::J1939>,
         {"dbc"}},
        {"plain",
         "FILE.dbc",
         "Like --dbc, but treat no messages as J1939.",
         false,
         true,
         readDbcFileAs<Protocol::CANopen>,
         {"dbc"}},
        {"eds",
         "FILE.eds",
         "EDS or DCF of the CANopen node given by --node.",
         true,
         true,
         readEdsFile,
         {"eds", "dcf"}},
    };
    return readers;
}

const DescriptionReader* findDescriptionReader(const QString& name)
{
    const auto& readers = descriptionReaders();
    const auto found =
        std::find_if(readers.cbegin(), readers.cend(), [&name](const DescriptionReader& reader) {
            return name == QLatin1String(reader.name);
        });
    return found == readers.cend() ? nullptr : &*found;
}

std::optional<quint8> readNodeId(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral("\\A(?:[0-9]+|0[xX][0-9a-fA-F]+)\\z"));
    constexpr uint lastNode = 127;
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    // toUInt() returns 0 if the number is too large.
    const uint node = pattern.match(text).hasMatch() ? text.toUInt(nullptr, isHex ? 16 : 10) : 0;
    if (node == 0 || node > lastNode)
        return std::nullopt;
    return static_cast<quint8>(node);
}

} // namespace monitor
