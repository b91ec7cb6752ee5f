#pragma once

#include <QtCore/qglobal.h>

// Marks the symbols that the CAN support library exports. All other symbols are hidden. A static
// library (VANTREL_STATIC) exports nothing.
#if defined(VANTREL_STATIC)
#define CANSUPPORT_EXPORT
#elif defined(VANTREL_BUILDING_CANSUPPORT)
#define CANSUPPORT_EXPORT Q_DECL_EXPORT
#else
#define CANSUPPORT_EXPORT Q_DECL_IMPORT
#endif
