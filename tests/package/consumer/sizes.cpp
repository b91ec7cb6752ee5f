#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/library/LibVantrel.h>
#include <vantrel/signal/GenericSignalImpl.h>

// The sizes of objects are compiled into programs, so they must not change while the SOVERSION
// stays the same. These are the sizes in version 1 on x86-64.
#if defined(__x86_64__)
#if QT_VERSION_MAJOR == 5
static_assert(sizeof(GenericValue) == 40);
static_assert(sizeof(CANopenObjectValue) == 56);
static_assert(sizeof(J1939Value) == 40);
static_assert(sizeof(GenericSignalImpl<CANopenObjectValue>) == 344);
static_assert(sizeof(GenericSignalImpl<J1939Value>) == 344);
#else
static_assert(sizeof(GenericValue) == 72);
static_assert(sizeof(CANopenObjectValue) == 88);
static_assert(sizeof(J1939Value) == 72);
static_assert(sizeof(GenericSignalImpl<CANopenObjectValue>) == 360);
static_assert(sizeof(GenericSignalImpl<J1939Value>) == 360);
#endif
static_assert(sizeof(StatisticCalculator<float>) == 240);
static_assert(sizeof(StatisticCalculator<double>) == 248);
static_assert(sizeof(StatisticCalculator<signed char>) == 104);
static_assert(sizeof(StatisticCalculator<unsigned char>) == 104);
static_assert(sizeof(StatisticCalculator<short>) == 104);
static_assert(sizeof(StatisticCalculator<unsigned short>) == 104);
static_assert(sizeof(StatisticCalculator<int>) == 104);
static_assert(sizeof(StatisticCalculator<unsigned int>) == 104);
static_assert(sizeof(StatisticCalculator<long long>) == 112);
static_assert(sizeof(StatisticCalculator<unsigned long long>) == 112);
static_assert(sizeof(LibVantrel) == 1);
#endif
