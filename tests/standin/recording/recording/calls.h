#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

/// One call of the library under test into a stand-in.
struct Call {
    std::string what;       ///< such as "int addValue 7"
    std::thread::id thread; ///< that made it
};

/// Remembers that \a what has been called; thread-safe.
__attribute__((visibility("default"))) void record(const std::string& what);

/// What has been recorded since the last call of this function, by the calling thread only.
__attribute__((visibility("default"))) std::vector<std::string> takeOwnCalls();

/// What other threads than this one have recorded, without forgetting it.
__attribute__((visibility("default"))) std::vector<Call> callsOfOthers();

/// Which construction of a calculator throws a StandinFailure: 1 the next one, 2 the one after it
/// and so on, 0 none. Counts down.
__attribute__((visibility("default"))) int& failingConstruction();

/// Whether the operations of the calculators throw a StandinFailure.
__attribute__((visibility("default"))) std::atomic<bool>& failOperations();

/// Whether switching the log of a calculator throws a StandinFailure.
__attribute__((visibility("default"))) bool& failLogSwitches();

/// Whether the next question for an average ends the thread that asks; it then resets itself.
__attribute__((visibility("default"))) std::atomic<bool>& endNextThread();

struct __attribute__((visibility("default"))) StandinFailure {
};
