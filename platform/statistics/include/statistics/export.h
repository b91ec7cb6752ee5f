#pragma once

#include <QtCore/qglobal.h>

// What the statistics library shows to its users; everything else in it stays hidden. Only
// instantiations of its templates are exported: on ELF the attribute stands at the header's extern
// template line (STATISTICS_TEMPLATE_DECLARATION; the definition's own attribute is ignored
// there), with the MSVC ABI at the definition (STATISTICS_TEMPLATE_DEFINITION).
#if !defined(Q_OS_WIN)
#define STATISTICS_TEMPLATE_DECLARATION Q_DECL_EXPORT
#define STATISTICS_TEMPLATE_DEFINITION
#elif defined(VANTREL_BUILDING_STATISTICS)
#define STATISTICS_TEMPLATE_DECLARATION
#define STATISTICS_TEMPLATE_DEFINITION Q_DECL_EXPORT
#else
#define STATISTICS_TEMPLATE_DECLARATION Q_DECL_IMPORT
#define STATISTICS_TEMPLATE_DEFINITION
#endif
