#pragma once

/// Whether the last input was refused from its beginning on, set by the targets that refuse any.
/// The replay requires it of the inputs whose files are named refused-*.
inline bool inputRefused = false;

/// How many records have been read, by the targets of records. The replay requires one at least of
/// each input whose file is named raw-*, except those named raw-*cut.
inline long long recordsRead = 0;
