#pragma once

#include "InputStream.h"

namespace monitor
{

/// The beginning of packed data, from which it can be recognised.
constexpr int longestPackedMagic = 4;

/// Whether \a start is the beginning of packed data in a format that unpack() reads: gzip or zstd.
bool isPacked(const QByteArray& start);

/// The unpacked bytes of \a packed, a stream for which isPacked() is true. Packed data may follow
/// packed data, in the same format or another one, and zero bytes may follow the last. Whatever can
/// be unpacked before damaged data is delivered; then the stream ends, and its report has a
/// problem, whose position is that in \a packed. The memory needed does not depend on the length.
std::unique_ptr<InputStream> unpack(std::unique_ptr<InputStream> packed);

} // namespace monitor
