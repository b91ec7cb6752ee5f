#pragma once

#include <vantrel/export.h>

/// Represents the library. Constructing an object has no effect except that the program refers to
/// libvantrel, so that libvantrel is linked and loaded. This class is reentrant.
class LibVantrel
{
public:
    /// Does nothing.
    VANTREL_EXPORT LibVantrel();
};
