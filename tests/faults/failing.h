#pragma once

/// Makes one allocation of the calling thread fail while it lives, as if there were no memory:
/// the one with the given number, counted from 1. Allocations of other threads are left alone.
class FailingAllocation
{
public:
    explicit FailingAllocation(int number);
    ~FailingAllocation();

    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether an allocation has failed.
    bool hasFailed() const;
};

/// Makes every start of a thread fail while it lives, as if the system had no more of them.
class FailingThreadStart
{
public:
    FailingThreadStart();
    ~FailingThreadStart();

    FailingThreadStart(const FailingThreadStart&) = delete;
    FailingThreadStart& operator=(const FailingThreadStart&) = delete;

    /// How many starts have failed.
    int count() const;
};
