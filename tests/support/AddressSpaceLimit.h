#pragma once

#include <pthread.h>
#include <sys/resource.h>

/// Leaves no room in the address space of the process for the stack of another thread while it
/// lives, and enough for everything else.
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
