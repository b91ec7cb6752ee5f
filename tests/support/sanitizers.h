#pragma once

/// \def ADDRESS_SANITIZER Whether this is compiled under AddressSanitizer. GCC defines a macro for
/// it, Clang 14 has __has_feature only.
#if defined(__SANITIZE_ADDRESS__)
#define ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ADDRESS_SANITIZER 1
#endif
#endif
#if !defined(ADDRESS_SANITIZER)
#define ADDRESS_SANITIZER 0
#endif

/// How often a check with random data is repeated: \a full times, or a tenth of that under
/// AddressSanitizer.
constexpr int repetitions(int full)
{
    return ADDRESS_SANITIZER ? full / 10 : full;
}
