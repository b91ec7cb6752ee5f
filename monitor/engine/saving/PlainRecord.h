#pragma once

#include <QtCore/QDataStream>

namespace monitor
{

/// Whether the next record in \a stream is plain, so that operator>> may read it from an untrusted
/// source: its version is known, and its raw and scaled values are each invalid, a boolean, a
/// number of a fundamental type, or a complete text or byte array of at most \a longestText bytes.
/// Returns false for any other type, since Qt would construct a value of whatever type the stream
/// names, and if the status of the stream is not Ok or its version is older than Qt_5_0.
///
/// The position and the status of the stream do not change. There must be no transaction in
/// progress.
[[nodiscard]] bool nextRecordIsPlain(QDataStream& stream, quint32 longestText = 4096);

} // namespace monitor
