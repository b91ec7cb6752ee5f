#pragma once

/// \file
/// A class that makes a program link the library.

#include <vantrel/export.h>

/// Makes a program link the library. Constructing an object has no effect except that the program
/// refers to libvantrel, which is therefore linked and loaded. This class is reentrant.
///
/// \ingroup library
class LibVantrel
{
public:
    /// Does nothing.
    VANTREL_EXPORT LibVantrel();
};
