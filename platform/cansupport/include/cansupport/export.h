#pragma once

#include <QtCore/qglobal.h>

// What the CAN support library shows to its users; everything else in it stays hidden.
#ifdef VANTREL_BUILDING_CANSUPPORT
#define CANSUPPORT_EXPORT Q_DECL_EXPORT
#else
#define CANSUPPORT_EXPORT Q_DECL_IMPORT
#endif
