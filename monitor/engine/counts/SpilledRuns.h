#pragma once

#include "SpillFile.h"

#include <functional>
#include <vector>

namespace monitor
{

/// How often a key was counted.
struct KeyCount {
    quint64 key;
    quint64 times;
};

/// Sorted runs of counted keys in a temporary file. Eight runs of about the same size are merged
/// into one, so that at most seven remain for each power of eight pages. Reentrant.
class SpilledRuns
{
public:
    /// Without \a spillFile, nothing can be added.
    explicit SpilledRuns(SpillFile* spillFile) : file(spillFile) {}
    ~SpilledRuns() { clear(); }

    SpilledRuns(const SpilledRuns&) = delete;
    SpilledRuns& operator=(const SpilledRuns&) = delete;

    /// Writes \a entries as a run. There must be some, in order of keys. Returns false, and changes
    /// nothing, if they cannot be written.
    [[nodiscard]] bool add(const std::vector<KeyCount>& entries);

    /// The number of values whose key is at most \a last. Reads a page of each run.
    quint64 countTo(quint64 last) const;

    /// The key at \a position among the values of the runs and of \a entries, which must be in
    /// order of keys. Reads a few pages of each run.
    quint64 keyAt(quint64 position, std::vector<KeyCount> entries) const;

    /// Calls \a visit for each distinct key of the runs and \a entries in order.
    void forEach(std::vector<KeyCount> entries,
                 const std::function<void(quint64 key, quint64 times)>& visit) const;

    /// False if a page could not be read. The results lack its values.
    bool isComplete() const { return !isPageMissing; }

    size_t runCount() const { return runs.size(); }
    void clear();

    struct Page {
        quint64 first;  // its smallest key
        quint64 before; // the number of values in earlier pages of the run
        quint32 number; // in the file
        quint32 size;   // in bytes
    };
    struct Run {
        std::vector<Page> pages;
        quint64 last = 0;  // the greatest key
        quint64 count = 0; // of values
    };

private:
    void place(Run run);
    void mergeLevel(size_t level);
    void release(const Run& run);

    SpillFile* file;
    std::vector<Run> runs;
    mutable bool isPageMissing = false;
};

} // namespace monitor
