#pragma once

/// \file
/// A class that makes a program link the library.

#include <vantrel/export.h>

/// Makes a program link the library. Constructing an object refers to libvantrel, so that it is
/// linked and loaded, and has no other effect. This class is reentrant.
///
/// \ingroup library
class LibVantrel
{
public:
    /// Does nothing.
    VANTREL_EXPORT LibVantrel();
};
