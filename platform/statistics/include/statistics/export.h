#pragma once

#include <QtCore/qglobal.h>

// Marks the symbols that the statistics library exports: the instantiations of its templates. All
// other symbols are hidden. On ELF the attribute belongs on the extern template declaration
// (STATISTICS_TEMPLATE_DECLARATION), because it is ignored on the definition. The MSVC ABI requires
// it on the definition (STATISTICS_TEMPLATE_DEFINITION). A static library (VANTREL_STATIC) exports
// nothing.
#if defined(VANTREL_STATIC)
#define STATISTICS_TEMPLATE_DECLARATION
#define STATISTICS_TEMPLATE_DEFINITION
#elif !defined(Q_OS_WIN)
#define STATISTICS_TEMPLATE_DECLARATION Q_DECL_EXPORT
#define STATISTICS_TEMPLATE_DEFINITION
#elif defined(VANTREL_BUILDING_STATISTICS)
#define STATISTICS_TEMPLATE_DECLARATION
#define STATISTICS_TEMPLATE_DEFINITION Q_DECL_EXPORT
#else
#define STATISTICS_TEMPLATE_DECLARATION Q_DECL_IMPORT
#define STATISTICS_TEMPLATE_DEFINITION
#endif

// A function marked with this is called straight through the table of addresses. The jump that this
// saves takes a noticeable part of the time of the fastest functions.
#if defined(__has_attribute)
#if __has_attribute(noplt)
#define STATISTICS_DIRECT_CALL __attribute__((noplt))
#endif
#endif
#if !defined(STATISTICS_DIRECT_CALL)
#define STATISTICS_DIRECT_CALL
#endif
