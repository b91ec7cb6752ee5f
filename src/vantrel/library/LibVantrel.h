#pragma once

#include <vantrel/export.h>

/// Represents the library: constructing an object makes a program refer to libvantrel, so that it
/// is linked and loaded, and has no other effect. This class is reentrant.
class LibVantrel
{
public:
    /// Does nothing.
    VANTREL_EXPORT LibVantrel();
};
