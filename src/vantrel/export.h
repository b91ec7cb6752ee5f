#pragma once

#include <QtCore/qglobal.h>

// Marks the symbols that libvantrel exports. All other symbols are hidden.
//
// VANTREL_EXPORT marks ordinary functions. Class templates are not marked, only their
// instantiations. On ELF the attribute belongs on the extern template declaration
// (VANTREL_TEMPLATE_DECLARATION), because it is ignored on the definition. The MSVC ABI requires it
// on the definition (VANTREL_TEMPLATE_DEFINITION). A static library (VANTREL_STATIC) exports
// nothing.
#if defined(VANTREL_STATIC)
#define VANTREL_EXPORT
#elif defined(VANTREL_BUILDING)
#define VANTREL_EXPORT Q_DECL_EXPORT
#else
#define VANTREL_EXPORT Q_DECL_IMPORT
#endif

#if defined(Q_OS_WIN) && defined(VANTREL_BUILDING) && !defined(VANTREL_STATIC)
#define VANTREL_TEMPLATE_DECLARATION
#define VANTREL_TEMPLATE_DEFINITION Q_DECL_EXPORT
#else
#define VANTREL_TEMPLATE_DECLARATION VANTREL_EXPORT
#define VANTREL_TEMPLATE_DEFINITION
#endif
