#include "Unpacking.h"

#include <zlib.h>
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <utility>

namespace monitor
{

namespace
{

/// The result of unpacking some bytes.
struct Unpacked {
    qint64 consumed = 0;
    qint64 produced = 0;
    bool isComplete = false; ///< a member has ended: data that can be unpacked by itself
    QString damage;          ///< why nothing more can be unpacked; empty without damage
};

class Unpacker
{
public:
    virtual ~Unpacker() = default;

    /// Unpacks a part of \a packed, which may be empty, into the \a size bytes at \a data.
    virtual Unpacked unpack(const QByteArray& packed, char* data, qint64 size) = 0;
};

class GzipUnpacker : public Unpacker
{
public:
    GzipUnpacker()
    {
        constexpr int gzipOnly = 16;
        if (inflateInit2(&stream, MAX_WBITS + gzipOnly) != Z_OK)
            qBadAlloc();
    }
    ~GzipUnpacker() override { inflateEnd(&stream); }
    Q_DISABLE_COPY(GzipUnpacker)

    Unpacked unpack(const QByteArray& packed, char* data, qint64 size) override
    {
        stream.next_in = reinterpret_cast<z_const Bytef*>(const_cast<char*>(packed.constData()));
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = reinterpret_cast<Bytef*>(data);
        const auto room = static_cast<uInt>(std::min<qint64>(size, 1 << 30));
        stream.avail_out = room;
        const int result = inflate(&stream, Z_NO_FLUSH);
        Unpacked unpacked;
        unpacked.consumed = packed.size() - static_cast<qint64>(stream.avail_in);
        unpacked.produced = static_cast<qint64>(room) - static_cast<qint64>(stream.avail_out);
        unpacked.isComplete = result == Z_STREAM_END;
        if (!unpacked.isComplete && result != Z_OK && result != Z_BUF_ERROR)
            unpacked.damage = damage(result);
        if (unpacked.isComplete)
            inflateReset(&stream);
        return unpacked;
    }

private:
    QString damage(int result) const
    {
        const QString reason = QString::fromLatin1(stream.msg ? stream.msg : zError(result));
        if (reason == QLatin1String("incorrect data check") ||
            reason == QLatin1String("incorrect length check"))
            return QStringLiteral("wrong checksum: the data before it may be damaged");
        return QStringLiteral("damaged data (%1)").arg(reason);
    }

    z_stream stream{};
};

class ZstdUnpacker : public Unpacker
{
public:
    ZstdUnpacker() : stream(ZSTD_createDStream())
    {
        Q_CHECK_PTR(stream);
        wanted = ZSTD_initDStream(stream);
    }
    ~ZstdUnpacker() override { ZSTD_freeDStream(stream); }
    Q_DISABLE_COPY(ZstdUnpacker)

    // Not more than is wanted for the next block: all that is unpacked in a call is lost if the
    // call fails, even the sound blocks.
    Unpacked unpack(const QByteArray& packed, char* data, qint64 size) override
    {
        ZSTD_inBuffer input{packed.constData(),
                            std::min(wanted, static_cast<size_t>(packed.size())), 0};
        ZSTD_outBuffer output{data, static_cast<size_t>(size), 0};
        const size_t result = ZSTD_decompressStream(stream, &output, &input);
        Unpacked unpacked;
        unpacked.consumed = static_cast<qint64>(input.pos);
        if (ZSTD_isError(result)) {
            unpacked.damage = damage(result);
            return unpacked;
        }
        unpacked.produced = static_cast<qint64>(output.pos);
        unpacked.isComplete = result == 0;
        wanted = unpacked.isComplete ? ZSTD_initDStream(stream) : result;
        return unpacked;
    }

private:
    static QString damage(size_t result)
    {
        switch (ZSTD_getErrorCode(result)) {
        case ZSTD_error_frameParameter_windowTooLarge:
            return QStringLiteral("the window is larger than 128 MiB; unpack the file first, with "
                                  "zstd -d --long=31");
        case ZSTD_error_checksum_wrong:
            return QStringLiteral("wrong checksum: the data before it may be damaged");
        default:
            return QStringLiteral("damaged data (%1)")
                .arg(QString::fromLatin1(ZSTD_getErrorName(result)));
        }
    }

    ZSTD_DStream* stream;
    size_t wanted = 0; // bytes that the next call needs
};

template <typename Kind>
std::unique_ptr<Unpacker> make()
{
    return std::make_unique<Kind>();
}

/// A format of packed data.
struct Packing {
    const char* name;
    bool (*matches)(const QByteArray& start);
    std::unique_ptr<Unpacker> (*make)();
};

const Packing packings[] = {
    {"gzip", [](const QByteArray& start) { return start.startsWith("\x1F\x8B\x08"); },
     make<GzipUnpacker>},
    {"zstd",
     [](const QByteArray& start) {
         // A skippable frame may come first. Its first byte is 50 to 5F.
         return start.startsWith("\x28\xB5\x2F\xFD") ||
                (start.size() >= longestPackedMagic && (start.at(0) & 0xF0) == 0x50 &&
                 start.mid(1).startsWith("\x2A\x4D\x18"));
     },
     make<ZstdUnpacker>},
};

const Packing* packingOf(const QByteArray& start)
{
    const auto found = std::find_if(std::begin(packings), std::end(packings),
                                    [&](const Packing& row) { return row.matches(start); });
    return found == std::end(packings) ? nullptr : found;
}

/// See unpack().
class UnpackingStream : public InputStream
{
public:
    explicit UnpackingStream(std::unique_ptr<InputStream> packedStream)
        : InputStream(packedStream->report()), packed(std::move(packedStream))
    {
        QVector<Problems>& layers = report()->packed;
        const QString name =
            layers.isEmpty() ? report()->name : report()->name + QStringLiteral(" (unpacked)");
        layer = static_cast<int>(layers.size());
        layers.append(Problems(name,
                               QStringLiteral("problem(s) in packed data; the rest of it was "
                                              "not read"),
                               ProblemPosition::Byte));
    }

protected:
    qint64 fill(char* data, qint64 size) override;

private:
    bool beginMember();
    void stopAt(qint64 position, const QString& problem);

    std::unique_ptr<InputStream> packed;
    const Packing* packing = nullptr; // of the current member; null between members
    const Packing* unpackerPacking = nullptr;
    std::unique_ptr<Unpacker> unpacker;
    int layer = 0;
    bool isStopped = false;
};

qint64 UnpackingStream::fill(char* data, qint64 size)
{
    while (!isStopped) {
        if (!packing && !beginMember())
            return 0;
        const qint64 position = packed->position();
        const Unpacked unpacked = unpacker->unpack(packed->ahead(), data, size);
        packed->skip(unpacked.consumed);
        if (!unpacked.damage.isEmpty())
            stopAt(position, unpacked.damage);
        if (unpacked.isComplete)
            packing = nullptr;
        if (unpacked.produced > 0)
            return unpacked.produced;
        // Reads input only now, because earlier input may still have yielded bytes.
        const bool isStuck = unpacked.consumed == 0 && packing && !isStopped;
        if (isStuck && (!packed->ahead().isEmpty() || !packed->readAhead()))
            stopAt(packed->position(), QStringLiteral("truncated"));
    }
    return 0;
}

/// Finds the beginning of the next member. Returns false at the end.
bool UnpackingStream::beginMember()
{
    QByteArray start = packed->ahead();
    const auto skipZeros = [&] {
        int zeros = 0;
        while (zeros < start.size() && start.at(zeros) == '\0')
            ++zeros;
        packed->skip(zeros);
        return zeros > 0;
    };
    while ((unpacker && skipZeros()) || start.size() < longestPackedMagic) {
        const bool isMore = packed->ahead().size() >= longestPackedMagic || packed->readAhead();
        start = packed->ahead();
        if (!isMore)
            break;
    }
    packing = packingOf(start);
    if (packing) {
        if (packing != unpackerPacking)
            unpacker = packing->make();
        unpackerPacking = packing;
        return true;
    }
    if (!start.isEmpty() || packed->isCut())
        stopAt(packed->position(), start.size() < longestPackedMagic
                                       ? QStringLiteral("truncated")
                                       : QStringLiteral("unknown bytes after the packed data"));
    return false;
}

void UnpackingStream::stopAt(qint64 position, const QString& problem)
{
    isStopped = true;
    setCut();
    // If the packed stream itself was cut, the reason has already been reported.
    if (!packed->isCut())
        report()->packed[layer].add(position, QString::fromLatin1(unpackerPacking->name) +
                                                  QStringLiteral(": ") + problem);
}

} // namespace

bool isPacked(const QByteArray& start)
{
    return packingOf(start) != nullptr;
}

std::unique_ptr<InputStream> unpack(std::unique_ptr<InputStream> packed)
{
    return std::make_unique<UnpackingStream>(std::move(packed));
}

} // namespace monitor
