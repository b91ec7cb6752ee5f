#pragma once

#include <QtCore/QtGlobal>

// Functions compiled once more for processors with more instructions, chosen when the library runs.
// All versions return the same bits. Other compilers and processors, and builds with
// VANTREL_DISPATCH off, have the plain version only.
#if VANTREL_DISPATCH && defined(__GNUC__) && defined(__x86_64__)
#define VANTREL_HAS_FUSED 1
#define VANTREL_FUSED __attribute__((target("avx2,fma")))
inline const bool fusedFlag = __builtin_cpu_supports("fma") && __builtin_cpu_supports("avx2");
/// Whether the processor runs functions marked with VANTREL_FUSED.
Q_ALWAYS_INLINE bool runsFused()
{
    return fusedFlag;
}
#else
#define VANTREL_HAS_FUSED 0
#endif
