#pragma once

#include <dlfcn.h>

/// The definition of a function that the program's own definition overrides, looked up by its
/// mangled name.
template <typename Function>
Function* hiddenFunction(const char* mangledName)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangledName));
}
