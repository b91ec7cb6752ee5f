#pragma once

#include <QtCore/qglobal.h>

// What libvantrel shows to its users; everything else in it stays hidden.
//
// VANTREL_EXPORT marks ordinary classes and functions. Class templates are never annotated
// themselves, only their instantiations are, and where that has to stand differs: on ELF at the
// header's extern template line (VANTREL_TEMPLATE_DECLARATION; the definition's own attribute
// is ignored there), with the MSVC ABI at the definition (VANTREL_TEMPLATE_DEFINITION).
#ifdef VANTREL_BUILDING
#define VANTREL_EXPORT Q_DECL_EXPORT
#else
#define VANTREL_EXPORT Q_DECL_IMPORT
#endif

#if defined(Q_OS_WIN) && defined(VANTREL_BUILDING)
#define VANTREL_TEMPLATE_DECLARATION
#define VANTREL_TEMPLATE_DEFINITION Q_DECL_EXPORT
#else
#define VANTREL_TEMPLATE_DECLARATION VANTREL_EXPORT
#define VANTREL_TEMPLATE_DEFINITION
#endif
