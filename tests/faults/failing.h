#pragma once

/// While an object of this class exists, one allocation of the calling thread fails as if memory
/// had run out: the one with the given number, counted from 1. Other threads are not affected.
class FailingAllocation
{
public:
    explicit FailingAllocation(int number);
    ~FailingAllocation();

    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether that allocation has failed.
    bool hasFailed() const;
};

/// While an object of this class exists, no thread can be started, as if the system had run out of
/// threads.
class FailingThreadStart
{
public:
    FailingThreadStart();
    ~FailingThreadStart();

    FailingThreadStart(const FailingThreadStart&) = delete;
    FailingThreadStart& operator=(const FailingThreadStart&) = delete;

    /// The number of failed attempts to start a thread.
    int count() const;
};
