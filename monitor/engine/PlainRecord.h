#pragma once

#include <QtCore/QDataStream>

namespace monitor
{

/// Whether the next record in \a stream is a plain one, so that operator>> may read it from a
/// source that is not trusted: its version word is known, and its raw and its scaled value are
/// each invalid, a boolean, a number of a fundamental type, or a text or a byte array of at most
/// \a longestText bytes, whole within the stream. Returns false for everything else,
/// which Qt would construct from the number of its type alone, for a stream whose status is not Ok,
/// and for one whose version is older than Qt_5_0.
///
/// The stream stays where it is, with the status that it had. It must be outside a transaction.
[[nodiscard]] bool nextRecordIsPlain(QDataStream& stream, quint32 longestText = 4096);

} // namespace monitor
