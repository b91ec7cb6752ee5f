#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QtEndian>

#include <memory>
#include <optional>

namespace monitor
{

/// One block of an MDF 4 file: a header, links to other blocks, and a data part.
struct Mf4Block {
    static constexpr qint64 headerSize = 24;

    qint64 offset = 0;
    qint64 length = 0; ///< as stated, with the header; may reach beyond the end of the file
    qint64 links = 0;
    QByteArray bytes; ///< the beginning of the block, as far as it was read

    bool is(const char* kind) const { return bytes.startsWith(QByteArray("##") + kind); }
    QString name() const { return QString::fromLatin1(bytes.mid(2, 2)); }

    /// Where the data part begins in the file.
    qint64 body() const { return offset + headerSize + 8 * links; }

    /// The number at \a position of the data part; 0 outside of the block.
    template <typename T>
    T field(qint64 position) const
    {
        const qint64 at = body() - offset + position;
        const auto size = static_cast<qint64>(sizeof(T));
        return at + size <= std::min<qint64>(length, bytes.size())
                   ? qFromLittleEndian<T>(bytes.constData() + at)
                   : T();
    }

    /// The offset of the linked block; 0 if the block has no such link.
    qint64 link(qint64 number) const
    {
        const qint64 at = headerSize + 8 * number;
        return number < links && at + 8 <= bytes.size()
                   ? qFromLittleEndian<qint64>(bytes.constData() + at)
                   : 0;
    }
};

/// Random access to the blocks of an MDF 4 file. A sequential device is first copied to a temporary
/// file. It must be used by one thread only.
class Mf4File
{
public:
    /// \a device must be open at its beginning. Error messages use \a name.
    Mf4File(std::unique_ptr<QIODevice> device, const QString& name);

    qint64 size() const { return fileSize; }

    /// Reads up to \a count bytes at \a position and returns their number.
    qint64 read(qint64 position, char* to, qint64 count);

    /// The block at \a offset, unless no block begins there. Of blocks with raw data, only the
    /// header, the links and the fields are read.
    std::optional<Mf4Block> block(qint64 offset);

    /// The same as Mf4Block::link(), also for links that were not read with the block.
    qint64 link(const Mf4Block& block, qint64 number);

    /// The text in the block at \a offset; empty if it is not a text block.
    QByteArray text(qint64 offset);

    /// Memory in which all streams of the file unpack transposed blocks, one at a time.
    QByteArray& unpackedColumns() { return columns; }

    /// An error message that names the device, or an empty string.
    QString error() const;

private:
    std::unique_ptr<QIODevice> input;
    QString fileName;
    QString copyError;
    qint64 fileSize = 0;
    QByteArray columns;
};

/// The bytes of a data block, or of all blocks in a list of data blocks, as one stream. They are
/// unpacked block by block: memory is bounded by the largest unpacked block and the largest
/// request. It must be used by one thread only, and \a file must outlive it.
class Mf4Data
{
public:
    static constexpr qint64 maxRequest = 1 << 26;
    /// The number of bytes after each byte at data() that may be read as well, though their values
    /// mean nothing: fields can be read as whole words.
    static constexpr qint64 slack = 16;

    /// Reads the block or list of blocks at \a offset. If \a isOpenEnded, the recorder may not have
    /// completed the length of the last block: an empty one then reaches to the end of the file.
    Mf4Data(Mf4File& file, qint64 offset, bool isOpenEnded);

    /// Makes the next \a count bytes available at data(), and returns true. Returns false if fewer
    /// are left, and for more than maxRequest bytes.
    [[nodiscard]] bool require(qint64 count) { return end - begin >= count || fill(count); }

    const char* data() const { return buffer.constData() + begin; }
    qint64 available() const { return end - begin; }

    /// Skips the next \a count bytes, or all that are left. Returns the number of skipped bytes.
    qint64 skip(qint64 count)
    {
        if (count > end - begin)
            return skipBlocks(count);
        begin += count;
        return count;
    }

    /// Continues at \a position of the stream. Cheap unless it is before the bytes in memory.
    /// Returns false if the stream is shorter, or if it has gone back so often that reading would
    /// take too long.
    [[nodiscard]] bool seek(qint64 position);

    /// The number of bytes before data() in the stream.
    qint64 position() const { return before + begin; }

    /// Where the byte at data() is in the file; for packed data, the beginning of its block.
    qint64 filePosition() const;

    /// The number of bytes of the file read so far.
    qint64 bytesRead() const { return stored; }

    /// Why the data ends early; empty if it does not.
    QString problem() const { return damage; }

private:
    bool fill(qint64 count);
    qint64 skipBlocks(qint64 count);
    void rewind();
    void compact();
    bool readPiece();
    bool openNextBlock(qint64 skippable, qint64& skipped);
    std::optional<qint64> nextOffset();
    bool openList(qint64 offset);
    void openPlain(const Mf4Block& block);
    void openPacked(const Mf4Block& block, qint64 skippable, qint64& skipped);
    void unpack(const Mf4Block& block, qint64 packed, qint64 unpacked);
    qint64 inflateTo(QByteArray& output, qint64 at, qint64 from, qint64 packed, qint64 unpacked);
    void stop(const QString& reason);

    Mf4File* file;
    qint64 first;
    bool openEnded;
    QString damage;
    bool isEnded = false;

    // The list of blocks.
    bool isOpened = false;
    std::optional<Mf4Block> list;
    qint64 nextLink = 0;
    QSet<qint64> lists; // that were read, to find cycles
    qint64 listed = 0;  // bytes in all blocks of the list so far, to find repeated blocks

    // The block being read.
    qint64 blockPosition = 0; // in the file, of the next byte to read
    qint64 blockLeft = 0;
    qint64 packedBlock = 0; // offset of the block that the last bytes were unpacked from, or 0

    QByteArray buffer;
    qint64 begin = 0; // of the unread bytes in the buffer
    qint64 end = 0;
    qint64 before = 0; // bytes of the stream before the buffer
    qint64 stored = 0;
    qint64 rewound = 0; // bytes that were read again after going back
};

} // namespace monitor
