#pragma once

#include <pthread.h>
#include <sys/resource.h>

/// While an object of this class exists, the address space of the process has no room for the stack
/// of another thread, but enough for everything else.
class AddressSpaceLimit
{
public:
    AddressSpaceLimit();
    ~AddressSpaceLimit();

    AddressSpaceLimit(const AddressSpaceLimit&) = delete;
    AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;

private:
    rlimit limitBefore;
    pthread_attr_t attributesBefore;
};
