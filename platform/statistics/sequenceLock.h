#pragma once

#include <QtCore/QThread>
#include <QtCore/QtGlobal>

#include <atomic>

// A sequence lock for one writer and any number of readers, without fences. The number is odd while
// the writer is changing the words that it protects. A reader that loads (acquire) a word stored
// (release) by an unfinished or later change also sees that change's odd number, or a later one,
// when it looks again; if the number is the same and even before and after, all that it has loaded
// in between belongs to one state.

/// The writer's side: the words may be stored while an object of this class lives.
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

/// The reader's side: runs \a load until no change fell into it. It loads words, with acquire
/// order, into variables of its own.
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
    // A writer of lower priority on the same processor must get the time to finish.
    if (tries % 1000 == 0)
        QThread::usleep(1);
}

template <typename Load>
Q_ALWAYS_INLINE void readBetweenChanges(const std::atomic<quint64>& sequence, Load load)
{
    for (int tries = 1; !readUnlessChanged(sequence, load); ++tries)
        pauseBeforeTry(tries);
}
