#pragma once

#include <dlfcn.h>

/// The next definition of a function, beyond the one of the program that is found first. It is
/// asked for by the name that the compiler gives it.
template <typename Function>
Function* hiddenFunction(const char* mangledName)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangledName));
}
