#pragma once

/// Whether the first record of the last input was refused; set by the targets of records. The
/// replay requires it of files named refused-*.
inline bool inputRefused = false;

/// The number of records read by the targets of records. The replay requires at least one from each
/// file named raw-*, except raw-*cut.
inline long long recordsRead = 0;
