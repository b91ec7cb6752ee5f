#pragma once

/// Whether the last input was refused from its beginning on, set by the targets that refuse any.
/// The replay requires it of the inputs whose files are named refused-*.
inline bool inputRefused = false;
