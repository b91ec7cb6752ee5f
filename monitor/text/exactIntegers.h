#pragma once

namespace monitor
{

/// 2^53: double holds every integer from its negative up to it exactly.
constexpr double exactIntegers = 9007199254740992.0;

} // namespace monitor
