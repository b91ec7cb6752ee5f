// Overrides the functions of the C library that allocate memory and start threads; QtCore and the
// standard library call them too. The names with underscores are the original functions; under
// AddressSanitizer they are its interceptors, so that it still tracks the memory.

#include "failing.h"

#include <sanitizers.h>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

#if ADDRESS_SANITIZER
#define REAL(name) __interceptor_##name
#else
#define REAL(name) __libc_##name
#endif

extern "C" void* REAL(malloc)(std::size_t);
extern "C" void* REAL(calloc)(std::size_t, std::size_t);
extern "C" void* REAL(realloc)(void*, std::size_t);

namespace
{

thread_local int allocationsToGo = 0; // 0: no allocation fails
thread_local bool allocationFailed = false;
std::atomic<bool> threadsFail{false};
std::atomic<int> failedThreads{0};

bool failsNow()
{
    if (allocationsToGo == 0 || --allocationsToGo > 0)
        return false;
    allocationFailed = true;
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" void* malloc(std::size_t size) noexcept
{
    return failsNow() ? nullptr : REAL(malloc)(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept
{
    return failsNow() ? nullptr : REAL(calloc)(count, size);
}

extern "C" void* realloc(void* block, std::size_t size) noexcept
{
    return failsNow() ? nullptr : REAL(realloc)(block, size);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*run)(void*), void* argument) noexcept
{
    if (threadsFail) {
        ++failedThreads;
        return EAGAIN;
    }
    static const auto real =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return real(thread, attributes, run, argument);
}

FailingAllocation::FailingAllocation(int number)
{
    allocationFailed = false;
    allocationsToGo = number;
}

FailingAllocation::~FailingAllocation()
{
    allocationsToGo = 0;
}

bool FailingAllocation::hasFailed() const
{
    return allocationFailed;
}

FailingThreadStart::FailingThreadStart()
{
    failedThreads = 0;
    threadsFail = true;
}

FailingThreadStart::~FailingThreadStart()
{
    threadsFail = false;
}

int FailingThreadStart::count() const
{
    return failedThreads;
}
