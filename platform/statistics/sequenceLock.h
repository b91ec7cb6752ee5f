#pragma once

#include "floatingPoint.h"

#include <QtCore/QThread>
#include <QtCore/QtGlobal>

#include <atomic>
#include <type_traits>

// A sequence lock for one writer and any number of readers, without fences. The sequence number is
// odd while the writer is changing the protected words. A reader that loads (acquire) a word stored
// (release) by an unfinished or later change also sees the odd number of that change, or a later
// number, when it loads the number again. So if the number is even and the same before and after,
// everything loaded in between belongs to one state.

// Processors with x86-64 instructions load every word with acquire and store it with release order.
// There, floating-point numbers are accessed as such: compilers move atomic ones through a general
// register, which doubles the instructions and delays the next value. ThreadSanitizer needs to see
// atomics.
#if defined(__SANITIZE_THREAD__)
#define VANTREL_PLAIN_WORDS 0
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VANTREL_PLAIN_WORDS 0
#endif
#endif
#if !defined(VANTREL_PLAIN_WORDS)
#if defined(__GNUC__) && defined(__x86_64__)
#define VANTREL_PLAIN_WORDS 1
#else
#define VANTREL_PLAIN_WORDS 0
#endif
#endif

/// Keeps the compiler from moving accesses to words across this point. Needs no instruction.
Q_ALWAYS_INLINE void keepOrder()
{
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

#if VANTREL_PLAIN_WORDS
/// \a Field as it is stored in an atomic of the same size.
template <typename Field>
struct InWord {
    typedef Field __attribute__((may_alias)) Type;
};
#endif

/// Loads \a field from \a word, an atomic of the same size.
template <std::memory_order order, typename Field, typename Word>
Q_ALWAYS_INLINE void loadWord(Field& field, const std::atomic<Word>& word)
{
    static_assert(sizeof(Field) == sizeof(Word) && sizeof(Field) == sizeof(std::atomic<Word>));
#if VANTREL_PLAIN_WORDS
    if constexpr (std::is_floating_point_v<Field>) {
        field = *reinterpret_cast<const volatile typename InWord<Field>::Type*>(&word);
        return;
    }
#endif
    field = bitCast<Field>(word.load(order));
}

/// Stores \a field in \a word with release order.
template <typename Field, typename Word>
Q_ALWAYS_INLINE void storeWord(std::atomic<Word>& word, Field field)
{
    static_assert(sizeof(Field) == sizeof(Word) && sizeof(Field) == sizeof(std::atomic<Word>));
#if VANTREL_PLAIN_WORDS
    if constexpr (std::is_floating_point_v<Field>) {
        *reinterpret_cast<volatile typename InWord<Field>::Type*>(&word) = field;
        return;
    }
#endif
    word.store(bitCast<Word>(field), std::memory_order_release);
}

/// The writer's side: words may be stored during the lifetime of an object of this class.
class SequenceWriter
{
public:
    /// Increases the sequence number by \a difference, which must be even.
    explicit SequenceWriter(std::atomic<quint64>& protectedBy, quint64 difference = 2)
        : sequence(protectedBy),
          before(sequence.load(std::memory_order_relaxed)),
          after(before + difference)
    {
        // Relaxed is enough: the release stores of the words publish it.
        sequence.store(before + 1, std::memory_order_relaxed);
        keepOrder();
    }

    ~SequenceWriter() { sequence.store(after, std::memory_order_release); }

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
    const quint64 after;
};

/// The reader's side: whether no change was made between loading \a before (acquire) and now. In
/// between, words must have been loaded with acquire order into variables of the reader.
Q_ALWAYS_INLINE bool isUnchanged(const std::atomic<quint64>& sequence, quint64 before)
{
    keepOrder();
    // Relaxed is enough: this load cannot move before the acquire loads of the words.
    return before % 2 == 0 && sequence.load(std::memory_order_relaxed) == before;
}

Q_NEVER_INLINE inline void pauseBeforeTry(int tries)
{
    // Lets a writer of lower priority on the same processor finish its change.
    if (tries % 1000 == 0)
        QThread::usleep(1);
}

/// Repeats \a load, which loads words, until no change has interfered.
template <typename Load>
void readBetweenChanges(const std::atomic<quint64>& sequence, Load load)
{
    for (int tries = 1;; ++tries) {
        const quint64 before = sequence.load(std::memory_order_acquire);
        load();
        if (isUnchanged(sequence, before))
            return;
        pauseBeforeTry(tries);
    }
}
