#include "sequenceLock.h"
#include "sums.h"
#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <algorithm>
#include <utility>

namespace
{

// The writer loads its own words relaxed; readers load them with acquire, see sequenceLock.h.
constexpr std::memory_order own = std::memory_order_relaxed, foreign = std::memory_order_acquire;

template <typename Field>
void fromWord(Field& field, quint64 word)
{
    field = bitCast<Field>(word);
}

template <std::memory_order order, typename Fields, std::size_t... i>
Q_ALWAYS_INLINE void loadFields(Fields fields, const std::atomic<quint64>* words,
                                std::index_sequence<i...>)
{
    (fromWord(std::get<i>(fields), words[i].load(order)), ...);
}

template <typename Fields, std::size_t... i>
Q_ALWAYS_INLINE void storeFields(Fields fields, std::atomic<quint64>* words,
                                 std::index_sequence<i...>)
{
    (SequenceWriter::store(words[i], bitCast<quint64>(std::get<i>(fields))), ...);
}

template <std::size_t count, std::memory_order order, typename Sums, typename Array>
Q_ALWAYS_INLINE void load(Sums& sums, const Array& words)
{
    loadFields<order>(sums.words(), words.data(), std::make_index_sequence<count>());
}

template <typename Sums, typename Array>
Q_ALWAYS_INLINE void store(Sums& sums, Array& words)
{
    storeFields(sums.words(), words.data(), std::make_index_sequence<Sums::wordCount>());
}

// The tail of floating-point sums follows their other words. Few series have one, so separate
// functions handle it and the common case stays fast.

template <std::memory_order order, typename Sums, typename Array>
void loadAll(Sums& sums, const Array& words)
{
    load<Sums::wordCount, order>(sums, words);
    if constexpr (std::is_same_v<Sums, FloatingSums>) {
        for (quint64 i = 0; i < sums.tailLength(); ++i)
            fromWord(sums.tail[i], words[Sums::wordCount + i].load(order));
    }
}

template <typename N, typename Array>
Q_NEVER_INLINE void addWithTail(N value, Array& words)
{
    FloatingSums updated;
    loadAll<own>(updated, words);
    updated.add(value);
    store(updated, words);
    for (quint64 i = 0; i < updated.tailLength(); ++i)
        SequenceWriter::store(words[FloatingSums::wordCount + i],
                              bitCast<quint64>(updated.tail[i]));
}

/// Returns a result computed from all words, reading again until no change has interfered.
template <typename Sums, typename Array>
Q_NEVER_INLINE double answerOfAll(double (Sums::*answer)() const,
                                  const std::atomic<quint64>& sequence, const Array& words)
{
    Sums sums;
    readBetweenChanges(sequence, [&] { loadAll<foreign>(sums, words); });
    return (sums.*answer)();
}

/// Twice the capacity: while a reader copies the newest half, the writer fills the other half.
quint64 ringSize(int logCapacity)
{
    return 2 * static_cast<quint64>(logCapacity);
}

template <typename N>
Q_NEVER_INLINE void appendTo(std::atomic<N>* ring, std::atomic<quint64>& logEnd, int logCapacity,
                             N value)
{
    const quint64 end = logEnd.load(own);
    SequenceWriter::store(ring[end % ringSize(logCapacity)], value);
    SequenceWriter::store(logEnd, end + 1);
}

} // namespace

template <typename N>
StatisticCalculator<N>::StatisticCalculator(std::optional<int> capacity)
    : logCapacity(std::max(capacity.value_or(0), 0))
{
    static_assert(sizeof(StatisticCalculator) <= 256);
    static_assert(std::atomic<quint64>::is_always_lock_free && std::atomic<N>::is_always_lock_free);
    // Not initialised, so that a large log takes physical memory only as it fills.
    if (logCapacity > 0)
        ring.reset(new std::atomic<N>[ringSize(logCapacity)]);
}

template <typename N>
void StatisticCalculator<N>::addValue(N value)
{
    using Sums = OrdinarySumsOf<N>;
    Sums updated;
    load<Sums::wordCount, own>(updated, sums);
    bool first = updated.count == 0;
    const bool ordinary = updated.add(value);
    // Floating-point sums are never ordinary while they are empty.
    if (std::is_floating_point_v<N> && ordinary)
        first = false;
    // NaN and infinities are never ordinary, so most values need not be checked.
    if (Q_UNLIKELY(!ordinary) && !isMeasurement(value))
        return;
    const SequenceWriter writer(sequence);
    if (first || value > maximum.load(own))
        SequenceWriter::store(maximum, value);
    if (first || value < minimum.load(own))
        SequenceWriter::store(minimum, value);
    if (Q_LIKELY(ordinary))
        store(updated, sums);
    else if constexpr (std::is_floating_point_v<N>)
        addWithTail(value, sums);
    if (Q_UNLIKELY(logging.load(own)) && ring)
        appendTo(ring.get(), logEnd, logCapacity, value);
}

template <typename N>
void StatisticCalculator<N>::clear()
{
    OrdinarySumsOf<N> empty;
    const SequenceWriter writer(sequence);
    SequenceWriter::store(maximum, N(0));
    SequenceWriter::store(minimum, N(0));
    store(empty, sums);
    SequenceWriter::store(logBegin, logEnd.load(own));
}

template <typename N>
void StatisticCalculator<N>::setLogValues(bool enabled)
{
    logging.store(enabled, own);
}

template <typename N>
QList<N> StatisticCalculator<N>::getLoggedValues() const
{
    const quint64 capacity = static_cast<quint64>(logCapacity);
    for (;;) {
        quint64 begin = 0, end = 0;
        readBetweenChanges(sequence, [&] {
            begin = logBegin.load(foreign);
            end = logEnd.load(foreign);
        });
        begin = std::max(begin, end - std::min(end, capacity));
        QList<N> values;
        values.reserve(static_cast<int>(end - begin));
        for (quint64 i = begin; i < end; ++i)
            values.append(ring[i % ringSize(logCapacity)].load(foreign));
        // Correct unless the writer has overwritten the first of them meanwhile.
        if (begin == end || logEnd.load(own) - begin < ringSize(logCapacity))
            return values;
    }
}

// The first attempt, which nearly always succeeds, needs registers only.

template <typename N>
double StatisticCalculator<N>::getAverage() const
{
    using Sums = OrdinarySumsOf<N>;
    Sums read;
    const auto loadMean = [&] { load<Sums::meanWords, foreign>(read, sums); };
    if (Q_LIKELY(readUnlessChanged(sequence, loadMean) && read.isOrdinary()))
        return read.mean();
    return answerOfAll(&SumsOf<N>::mean, sequence, sums);
}

template <typename N>
double StatisticCalculator<N>::getDeviation() const
{
    using Sums = OrdinarySumsOf<N>;
    Sums read;
    const auto loadDeviation = [&] { load<Sums::wordCount, foreign>(read, sums); };
    if (Q_LIKELY(readUnlessChanged(sequence, loadDeviation) && read.isOrdinary()))
        return read.deviation();
    return answerOfAll(&SumsOf<N>::deviation, sequence, sums);
}

// A single word, so always consistent.
template <typename N>
N StatisticCalculator<N>::getMaximum() const
{
    return maximum.load(foreign);
}

template <typename N>
N StatisticCalculator<N>::getMinimum() const
{
    return minimum.load(foreign);
}

template <typename N>
double StatisticCalculator<N>::getMedian(QList<N> values) const
{
    return SimpleStatisticCalculator<N>::calcMedian(std::move(values));
}

#define STATISTICS_DEFINE_CALCULATOR(N)                                                            \
    template class STATISTICS_TEMPLATE_DEFINITION StatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DEFINE_CALCULATOR)
