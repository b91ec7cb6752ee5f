#pragma once

#include <QtCore/QThread>
#include <QtCore/QtGlobal>

#include <atomic>

// A sequence lock for one writer and any number of readers, without fences. The sequence number is
// odd while the writer is changing the protected words. A reader that loads (acquire) a word stored
// (release) by an unfinished or later change also sees the odd number of that change, or a later
// number, when it loads the number again. So if the number is even and the same before and after,
// everything loaded in between belongs to one state.

/// The writer's side: words may be stored during the lifetime of an object of this class.
class SequenceWriter
{
public:
    explicit SequenceWriter(std::atomic<quint64>& protectedBy)
        : sequence(protectedBy), before(sequence.load(std::memory_order_relaxed))
    {
        // Relaxed is enough: the release stores of the words publish it.
        sequence.store(before + 1, std::memory_order_relaxed);
    }

    ~SequenceWriter() { sequence.store(before + 2, std::memory_order_release); }

    SequenceWriter(const SequenceWriter&) = delete;
    SequenceWriter& operator=(const SequenceWriter&) = delete;

    template <typename Word>
    static void store(std::atomic<Word>& word, Word value)
    {
        word.store(value, std::memory_order_release);
    }

private:
    std::atomic<quint64>& sequence;
    const quint64 before;
};

/// The reader's side: runs \a load and returns whether no change has interfered. \a load must load
/// words with acquire order into variables of its own.
template <typename Load>
Q_ALWAYS_INLINE bool readUnlessChanged(const std::atomic<quint64>& sequence, Load load)
{
    const quint64 before = sequence.load(std::memory_order_acquire);
    load();
    // Relaxed is enough: this load cannot move before the acquire loads of the words.
    return before % 2 == 0 && sequence.load(std::memory_order_relaxed) == before;
}

Q_NEVER_INLINE inline void pauseBeforeTry(int tries)
{
    // Lets a writer of lower priority on the same processor finish its change.
    if (tries % 1000 == 0)
        QThread::usleep(1);
}

/// Runs \a load again and again until no change has interfered.
template <typename Load>
Q_ALWAYS_INLINE void readBetweenChanges(const std::atomic<quint64>& sequence, Load load)
{
    for (int tries = 1; !readUnlessChanged(sequence, load); ++tries)
        pauseBeforeTry(tries);
}
