#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

/// One call of the library under test into a stand-in.
struct Call {
    std::string what;       ///< such as "int addValue 7"
    std::thread::id thread; ///< the thread that made it
};

/// Records a call of \a what. Thread-safe.
__attribute__((visibility("default"))) void record(const std::string& what);

/// Returns and removes the recorded calls of the calling thread.
__attribute__((visibility("default"))) std::vector<std::string> takeOwnCalls();

/// Returns the recorded calls of all other threads, and keeps them.
__attribute__((visibility("default"))) std::vector<Call> callsOfOtherThreads();

/// Which construction of a calculator throws a StandinFailure: 1 is the next one, 2 the one after
/// it, and so on; 0 means that all succeed. Counts down.
__attribute__((visibility("default"))) int& failingConstruction();

/// Whether the operations of the calculators throw a StandinFailure.
__attribute__((visibility("default"))) std::atomic<bool>& failOperations();

/// Whether switching the log of a calculator throws a StandinFailure.
__attribute__((visibility("default"))) bool& failLogSwitches();

/// Whether the next call of getAverage() ends the thread that makes it. That call resets it.
__attribute__((visibility("default"))) std::atomic<bool>& endNextThread();

struct __attribute__((visibility("default"))) StandinFailure {
};
