#include "AddressSpaceLimit.h"

#include <unistd.h>

#include <fstream>

namespace
{

/// Larger than any stack of a finished thread that the C library may have kept.
constexpr std::size_t stackSize = std::size_t(1) << 30;

rlim_t usedAddressSpace()
{
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

void setDefaultStackSize(std::size_t size)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

} // namespace

AddressSpaceLimit::AddressSpaceLimit()
{
    pthread_getattr_default_np(&attributesBefore);
    setDefaultStackSize(stackSize);
    getrlimit(RLIMIT_AS, &limitBefore);
    rlimit limit = limitBefore;
    limit.rlim_cur = usedAddressSpace() + stackSize / 2;
    setrlimit(RLIMIT_AS, &limit);
}

AddressSpaceLimit::~AddressSpaceLimit()
{
    setrlimit(RLIMIT_AS, &limitBefore);
    pthread_setattr_default_np(&attributesBefore);
    pthread_attr_destroy(&attributesBefore);
}
