#pragma once

#include <vantrel/export.h>

/// Stands for the library itself: constructing one makes a program refer to libvantrel and has no
/// other effect. This class is reentrant.
class LibVantrel
{
public:
    VANTREL_EXPORT LibVantrel();
};
