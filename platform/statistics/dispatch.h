#pragma once

#include <QtCore/QtGlobal>

// Functions that are compiled a second time for processors with AVX2, BMI2 and FMA, and chosen at
// run time. Both versions return the same bits. Other compilers and processors, and builds with
// VANTREL_DISPATCH off, have only the plain version. The choice is a test and a jump, which works
// in every kind of build; resolving it in the dynamic linker instead saved no measurable time.
#if VANTREL_DISPATCH && defined(__GNUC__) && defined(__x86_64__)
#define VANTREL_HAS_FUSED 1
#define VANTREL_FUSED __attribute__((target("avx2,bmi2,fma")))
/// Whether the processor runs functions marked with VANTREL_FUSED. False until the library is
/// initialised, which changes no result.
inline const bool runsFused = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") &&
                              __builtin_cpu_supports("fma");
#else
#define VANTREL_HAS_FUSED 0
#endif
