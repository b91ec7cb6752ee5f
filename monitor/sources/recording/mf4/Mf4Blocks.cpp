#include "Mf4Blocks.h"

#include "text/LineReader.h"

#include <QtCore/QTemporaryFile>

#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace monitor
{

namespace
{

constexpr qint64 pieceSize = 1 << 17;
constexpr qint64 maxBlockBytes = 1 << 16; // kept of a block; links beyond are read one by one
constexpr qint64 maxFields = 24;          // bytes of the fields of a block with raw data
constexpr qint64 maxUnpacked = 1 << 26;   // of a block; the format allows 4 MiB
constexpr qint64 maxText = 4096;
constexpr qint64 freeRewinding = 1 << 28;
constexpr qint64 rewindCost = 4096; // of reading the headers of blocks again, in bytes

bool isRawData(const char* header)
{
    constexpr const char* kinds[] = {"##DT", "##SD", "##RD", "##DZ", "##DV", "##DI"};
    return std::any_of(std::begin(kinds), std::end(kinds),
                       [=](const char* kind) { return std::memcmp(header, kind, 4) == 0; });
}

bool isUpperCase(char c)
{
    return c >= 'A' && c <= 'Z';
}

/// Copies everything in \a device to a temporary file. Sets \a error if that fails.
std::unique_ptr<QIODevice> copyOf(QIODevice& device, const QString& name, QString& error)
{
    auto copy = std::make_unique<QTemporaryFile>();
    bool isSound = copy->open();
    QByteArray piece(pieceSize, Qt::Uninitialized);
    for (qint64 read = 0; isSound && (read = device.read(piece.data(), piece.size())) > 0;)
        isSound = copy->write(piece.constData(), read) == read;
    isSound = isSound && copy->flush() && copy->seek(0);
    if (!isSound)
        error = QStringLiteral("%1: cannot be copied to a temporary file: %2")
                    .arg(name, copy->errorString());
    return copy;
}

/// Puts the columns of \a rows records of \a width bytes at \a from into rows at \a to.
void transpose(const char* from, char* to, qint64 rows, qint64 width)
{
    constexpr qint64 rowsAtOnce = 64; // that fit into the processor's nearest cache
    for (qint64 row = 0; row < rows; row += rowsAtOnce) {
        const qint64 count = std::min(rowsAtOnce, rows - row);
        for (qint64 column = 0; column < width; ++column) {
            const char* const source = from + column * rows + row;
            char* target = to + row * width + column;
            for (qint64 i = 0; i < count; ++i, target += width)
                *target = source[i];
        }
    }
}

} // namespace

Mf4File::Mf4File(std::unique_ptr<QIODevice> device, const QString& name)
    : input(std::move(device)), fileName(name)
{
    if (input->isSequential()) {
        auto copy = copyOf(*input, name, copyError);
        if (copyError.isEmpty())
            copyError = deviceError(*input, name);
        input = std::move(copy);
    }
    fileSize = copyError.isEmpty() ? input->size() : 0;
}

qint64 Mf4File::read(qint64 position, char* to, qint64 count)
{
    if (position < 0 || position >= fileSize || !input->seek(position))
        return 0;
    return std::max<qint64>(input->read(to, std::min(count, fileSize - position)), 0);
}

std::optional<Mf4Block> Mf4File::block(qint64 offset)
{
    Mf4Block block;
    block.offset = offset;
    block.bytes.resize(Mf4Block::headerSize);
    if (offset <= 0 ||
        read(offset, block.bytes.data(), Mf4Block::headerSize) < Mf4Block::headerSize)
        return std::nullopt;
    const char* const header = block.bytes.constData();
    const auto length = qFromLittleEndian<quint64>(header + 8);
    const auto links = qFromLittleEndian<quint64>(header + 16);
    const auto rest = static_cast<quint64>(fileSize - offset);
    constexpr quint64 longest = std::numeric_limits<qint64>::max() / 4;
    if (std::memcmp(header, "##", 2) != 0 || length > longest || links > (rest - 24) / 8)
        return std::nullopt;
    block.length = static_cast<qint64>(length);
    block.links = static_cast<qint64>(links);
    const qint64 fields = Mf4Block::headerSize + 8 * block.links;
    // Of raw data that is still being recorded, even the length of the header may be missing.
    const bool isData = isRawData(header);
    if (!isData && block.length < fields)
        return std::nullopt;
    const qint64 wanted = std::min(isData ? fields + maxFields : block.length, maxBlockBytes);
    block.bytes.resize(static_cast<int>(std::min(wanted, fileSize - offset)));
    block.bytes.resize(static_cast<int>(read(offset, block.bytes.data(), block.bytes.size())));
    return block;
}

qint64 Mf4File::link(const Mf4Block& block, qint64 number)
{
    const qint64 at = Mf4Block::headerSize + 8 * number;
    if (number >= block.links || at + 8 <= block.bytes.size())
        return block.link(number);
    char bytes[8] = {};
    return read(block.offset + at, bytes, 8) == 8 ? qFromLittleEndian<qint64>(bytes) : 0;
}

QByteArray Mf4File::text(qint64 offset)
{
    const std::optional<Mf4Block> found = block(offset);
    if (!found || !(found->is("TX") || found->is("MD")))
        return QByteArray();
    const qint64 begin = found->body() - offset;
    const qint64 size = std::min<qint64>({found->bytes.size() - begin, maxText});
    if (size <= 0)
        return QByteArray();
    const QByteArray text = found->bytes.mid(static_cast<int>(begin), static_cast<int>(size));
    return QByteArray(text.constData()); // up to the first zero byte
}

QString Mf4File::error() const
{
    return copyError.isEmpty() ? deviceError(*input, fileName) : copyError;
}

Mf4Data::Mf4Data(Mf4File& source, qint64 offset, bool isOpenEnded)
    : file(&source), first(offset), openEnded(isOpenEnded)
{
}

void Mf4Data::stop(const QString& reason)
{
    isEnded = true;
    if (damage.isEmpty())
        damage = reason;
}

qint64 Mf4Data::filePosition() const
{
    return packedBlock != 0 ? packedBlock : blockPosition - (end - begin);
}

void Mf4Data::compact()
{
    std::memmove(buffer.data(), buffer.constData() + begin, static_cast<size_t>(end - begin));
    before += begin;
    end -= begin;
    begin = 0;
}

bool Mf4Data::fill(qint64 count)
{
    if (count > maxRequest)
        return false;
    compact();
    while (end < count) {
        qint64 skipped = 0;
        if (!readPiece() && !openNextBlock(0, skipped))
            return false;
    }
    return true;
}

bool Mf4Data::readPiece()
{
    if (blockLeft <= 0)
        return false;
    const qint64 count = std::min(blockLeft, pieceSize);
    if (buffer.size() < end + count + slack)
        buffer.resize(
            static_cast<int>(std::max(end + count + slack, std::min(2 * end, maxRequest))));
    const qint64 read = file->read(blockPosition, buffer.data() + end, count);
    if (read <= 0) {
        blockLeft = 0;
        stop(QStringLiteral("the data cannot be read"));
        return false;
    }
    packedBlock = 0;
    blockPosition += read;
    blockLeft -= read;
    stored += read;
    end += read;
    return true;
}

qint64 Mf4Data::skipBlocks(qint64 count)
{
    qint64 left = count;
    while (left > end - begin) {
        left -= end - begin;
        begin = end;
        if (blockLeft > 0) {
            const qint64 skipped = std::min(left, blockLeft);
            blockPosition += skipped;
            blockLeft -= skipped;
            stored += skipped;
            before += skipped;
            left -= skipped;
            // The bytes in the buffer are no longer those before blockPosition.
            before += begin;
            begin = 0;
            end = 0;
            packedBlock = 0;
            continue;
        }
        compact();
        qint64 skipped = 0;
        if (!openNextBlock(left, skipped))
            return count - left;
        before += skipped;
        left -= skipped;
    }
    begin += left;
    return count;
}

bool Mf4Data::seek(qint64 target)
{
    if (target < 0)
        return false;
    if (target < before) {
        if (rewound > freeRewinding + 8 * file->size())
            return false;
        rewound += before + end + rewindCost;
        rewind();
    }
    if (target < before + end) {
        begin = target - before;
        return true;
    }
    const qint64 missing = target - position();
    return skip(missing) == missing;
}

void Mf4Data::rewind()
{
    list.reset();
    lists.clear();
    isOpened = false;
    isEnded = false;
    listed = 0;
    blockLeft = 0;
    packedBlock = 0;
    begin = 0;
    end = 0;
    before = 0;
}

bool Mf4Data::openList(qint64 offset)
{
    std::optional<Mf4Block> next = file->block(offset);
    if (next && next->is("HL"))
        next = file->block(next->link(0));
    if (!next || !next->is("DL")) {
        stop(QStringLiteral("the list of data blocks is damaged"));
        return false;
    }
    if (lists.contains(next->offset)) {
        stop(QStringLiteral("the list of data blocks is circular"));
        return false;
    }
    lists.insert(next->offset);
    list = std::move(next);
    nextLink = 1;
    return true;
}

std::optional<qint64> Mf4Data::nextOffset()
{
    if (!isOpened) {
        isOpened = true;
        const std::optional<Mf4Block> block = file->block(first);
        if (!block || !(block->is("DL") || block->is("HL")))
            return first;
        if (!openList(first))
            return std::nullopt;
    }
    while (list) {
        if (nextLink < list->links) {
            const qint64 offset = file->link(*list, nextLink++);
            if (offset != 0)
                return offset;
            list.reset(); // links that were not filled in end the list
        } else if (const qint64 next = list->link(0); next == 0 || !openList(next)) {
            list.reset();
        }
    }
    return std::nullopt;
}

bool Mf4Data::openNextBlock(qint64 skippable, qint64& skipped)
{
    const std::optional<qint64> offset = isEnded ? std::nullopt : nextOffset();
    if (!offset) {
        isEnded = true;
        return false;
    }
    const std::optional<Mf4Block> block = file->block(*offset);
    blockPosition = *offset;
    if (!block) {
        stop(QStringLiteral("a link to a data block does not lead to a block"));
        return false;
    }
    listed += block->length;
    // Distinct blocks cannot be larger than the file, except for one that was cut off.
    if (listed - block->length > file->size()) {
        stop(QStringLiteral("the list of data blocks contains a block more than once"));
        return false;
    }
    if (block->is("DT") || block->is("SD")) {
        openPlain(*block);
    } else if (block->is("DZ")) {
        openPacked(*block, skippable, skipped);
    } else if (block->is("DV") || block->is("LD")) {
        stop(QStringLiteral("data stored in columns (MDF 4.2) is not supported"));
        return false;
    } else {
        stop(QStringLiteral("a block of type %1 does not contain data").arg(block->name()));
        return false;
    }
    return true;
}

void Mf4Data::openPlain(const Mf4Block& block)
{
    blockPosition = block.body();
    blockLeft = block.offset + block.length - blockPosition;
    const qint64 rest = std::max<qint64>(file->size() - blockPosition, 0);
    if (openEnded && (blockLeft <= 0 || blockLeft > rest)) {
        // If another block directly follows the empty one, there is indeed no data.
        char next[4] = {};
        const bool isBlock = file->read(blockPosition, next, 4) == 4 && next[0] == '#' &&
                             next[1] == '#' && isUpperCase(next[2]) && isUpperCase(next[3]);
        blockLeft = blockLeft <= 0 && isBlock ? 0 : rest;
    } else if (blockLeft > rest) {
        blockLeft = rest;
        stop(QStringLiteral("the file ends within its data"));
    }
    blockLeft = std::max<qint64>(blockLeft, 0);
}

void Mf4Data::openPacked(const Mf4Block& block, qint64 skippable, qint64& skipped)
{
    blockLeft = 0;
    const auto method = block.field<quint8>(2);
    const auto unpacked = block.field<quint64>(8);
    const auto packed = block.field<quint64>(16);
    const qint64 dataBegin = block.body() + maxFields;
    const qint64 rest = std::max<qint64>(file->size() - dataBegin, 0);
    if (method > 1) {
        const char* const name = method < 4 ? "zstd" : method < 6 ? "LZ4" : "an unknown method";
        stop(QStringLiteral("data packed with %1 (method %2) is not supported")
                 .arg(QLatin1String(name))
                 .arg(method));
    } else if (block.bytes.size() < dataBegin - block.offset) {
        stop(QStringLiteral("the file ends within its data"));
    } else if (unpacked > maxUnpacked) {
        stop(QStringLiteral("a packed block states an impossible size"));
    } else if (packed <= static_cast<quint64>(rest) && static_cast<qint64>(unpacked) <= skippable) {
        skipped = static_cast<qint64>(unpacked);
        stored += static_cast<qint64>(packed);
    } else {
        unpack(block, static_cast<qint64>(std::min(packed, static_cast<quint64>(rest))),
               static_cast<qint64>(unpacked));
        if (packed > static_cast<quint64>(rest))
            stop(QStringLiteral("the file ends within its data"));
    }
}

void Mf4Data::unpack(const Mf4Block& block, qint64 packed, qint64 unpacked)
{
    const qint64 dataBegin = block.body() + maxFields;
    const qint64 width = block.field<quint32>(4);
    packedBlock = block.offset;
    stored += packed;
    if (block.field<quint8>(2) == 0 || width <= 1 || width > unpacked) {
        end += inflateTo(buffer, end, dataBegin, packed, unpacked);
        return;
    }
    // Without the end, there is no complete row.
    QByteArray& columns = file->unpackedColumns();
    if (inflateTo(columns, 0, dataBegin, packed, unpacked) < unpacked)
        return;
    if (buffer.size() < end + unpacked + slack)
        buffer.resize(static_cast<int>(end + unpacked + slack));
    const qint64 rows = unpacked / width;
    transpose(columns.constData(), buffer.data() + end, rows, width);
    std::memcpy(buffer.data() + end + rows * width, columns.constData() + rows * width,
                static_cast<size_t>(unpacked - rows * width));
    end += unpacked;
}

/// Unpacks into \a output from position \a at, which grows with the bytes that are there. Returns
/// the number of unpacked bytes; stops the stream if these are not \a unpacked.
qint64 Mf4Data::inflateTo(QByteArray& output, qint64 at, qint64 from, qint64 packed,
                          qint64 unpacked)
{
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) {
        stop(QStringLiteral("there is not enough memory to unpack the data"));
        return 0;
    }
    char input[64 * 1024];
    qint64 done = 0;
    int result = Z_OK;
    while (result == Z_OK) {
        if (stream.avail_in == 0 && packed > 0) {
            const qint64 read = file->read(from, input, std::min<qint64>(sizeof(input), packed));
            from += read;
            packed = read > 0 ? packed - read : 0;
            stream.next_in = reinterpret_cast<Bytef*>(input);
            stream.avail_in = static_cast<uInt>(read);
        }
        if (output.size() < at + std::min(done + pieceSize, unpacked) + slack)
            output.resize(static_cast<int>(
                at + std::min(std::max(done + pieceSize, 2 * done), unpacked) + slack));
        const qint64 room = std::min(output.size() - slack - at, unpacked) - done;
        // With all bytes unpacked, one more shows whether the data is longer than stated.
        Bytef beyond = 0;
        stream.next_out = room > 0 ? reinterpret_cast<Bytef*>(output.data() + at + done) : &beyond;
        stream.avail_out = room > 0 ? static_cast<uInt>(room) : 1;
        const uInt offered = stream.avail_out;
        result = inflate(&stream, Z_NO_FLUSH);
        const uInt written = offered - stream.avail_out;
        if (room > 0)
            done += written;
        else if (written > 0)
            break;
    }
    inflateEnd(&stream);
    if (result != Z_STREAM_END || done != unpacked)
        stop(QStringLiteral("a packed block is damaged"));
    return result == Z_DATA_ERROR ? 0 : done; // any of the bytes may be wrong
}

} // namespace monitor
