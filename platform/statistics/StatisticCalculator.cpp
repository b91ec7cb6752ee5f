#include "dispatch.h"
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

/// Returns a word for its writer.
template <typename N>
Q_ALWAYS_INLINE N ownValue(const std::atomic<N>& word)
{
    N value;
    loadWord<own>(value, word);
    return value;
}

template <std::size_t begin, std::memory_order order, typename Fields, std::size_t... i>
Q_ALWAYS_INLINE void loadFields(Fields fields, const std::atomic<quint64>* words,
                                std::index_sequence<i...>)
{
    (loadWord<order>(std::get<begin + i>(fields), words[begin + i]), ...);
}

template <std::size_t begin, typename Fields, std::size_t... i>
Q_ALWAYS_INLINE void storeFields(Fields fields, std::atomic<quint64>* words,
                                 std::index_sequence<i...>)
{
    (storeWord(words[begin + i], std::get<begin + i>(fields)), ...);
}

template <const WordRange& range, std::memory_order order, typename Sums, typename Array>
Q_ALWAYS_INLINE void load(Sums& sums, const Array& words)
{
    loadFields<range.begin, order>(sums.words(), words.data(),
                                   std::make_index_sequence<range.size()>());
}

template <const WordRange& range, typename Sums, typename Array>
Q_ALWAYS_INLINE void store(Sums& sums, Array& words)
{
    storeFields<range.begin>(sums.words(), words.data(), std::make_index_sequence<range.size()>());
}

template <typename Sums>
constexpr WordRange all = {0, Sums::wordCount};

// The sums of floating-point types that are not ordinary need more words. The first ones are those
// of ordinary sums, except that a NaN takes the place of the rest of the sum: it makes every
// operation on ordinary sums fail, so that they need not check for it. The rest is in the last
// word.
constexpr std::size_t formWord = OrdinaryFloatingSums::wordCount, tailWords = formWord + 1,
                      hiddenRestWord = tailWords + FloatingSums::tailCapacity;

template <std::memory_order order, typename Sums, typename Array>
void loadAll(Sums& sums, const Array& words)
{
    load<all<Sums>, order>(sums, words);
    if constexpr (std::is_same_v<Sums, FloatingSums>) {
        sums.form = words[formWord].load(order);
        if (!sums.isOrdinary())
            loadWord<order>(sums.sumRest, words[hiddenRestWord]);
        for (quint64 i = 0; i < sums.tailLength(); ++i)
            loadWord<order>(sums.tail[i], words[tailWords + i]);
    }
}

template <typename Sums, typename Array>
void storeAll(Sums sums, Array& words)
{
    if constexpr (std::is_same_v<Sums, FloatingSums>) {
        static_assert(hiddenRestWord < std::tuple_size_v<Array>);
        storeWord(words[formWord], sums.form);
        for (quint64 i = 0; i < sums.tailLength(); ++i)
            storeWord(words[tailWords + i], sums.tail[i]);
        if (!sums.isOrdinary()) {
            storeWord(words[hiddenRestWord], sums.sumRest);
            sums.sumRest = std::numeric_limits<double>::quiet_NaN();
        }
    }
    store<all<Sums>>(sums, words);
}

/// Twice the capacity: while a reader copies the newest half, the writer fills the other half.
quint64 ringSize(int logCapacity)
{
    return 2 * static_cast<quint64>(logCapacity);
}

} // namespace

/// By how much the sequence number grows until floating-point sums are normalised.
constexpr quint64 evenChanges = quint64(2) * FloatingSums::evenInterval;

/// Whether reading needs products of doubles with their errors.
template <typename N>
constexpr bool gainsFromFused = std::is_floating_point_v<N> || sizeof(N) == sizeof(quint64);

/// The operations that signals call for every value. The fast ones keep everything in registers and
/// leave what is rare to a function of its own.
template <typename N>
struct Q_DECL_HIDDEN StatisticCalculator<N>::Paths {
    using Sums = OrdinarySumsOf<N>;

    template <typename Products>
    static Q_ALWAYS_INLINE void add(StatisticCalculator& self, N value)
    {
        Sums updated;
        load<all<Sums>, own>(updated, self.sums);
        const quint64 before = self.sequence.load(own);
        bool isOrdinary = false;
        if constexpr (std::is_floating_point_v<N>) {
            // Each value has increased the sequence number by 2.
            const bool evens = before % evenChanges == evenChanges - 2;
            isOrdinary = updated.template add<Products>(value, evens);
        } else {
            isOrdinary = updated.isOrdinary() && updated.add(value);
        }
        if (Q_UNLIKELY(!isOrdinary) || Q_UNLIKELY(self.logging.load(own)))
            return addRare(self, value);
        const SequenceWriter writer(self.sequence);
        if (Q_UNLIKELY(value > ownValue(self.maximum)))
            storeWord(self.maximum, value);
        if (Q_UNLIKELY(value < ownValue(self.minimum)))
            storeWord(self.minimum, value);
        store<Sums::changing>(updated, self.sums);
    }

    /// Adds a value of any kind, to the log too.
    static Q_NEVER_INLINE void addRare(StatisticCalculator& self, N value)
    {
        if (!isMeasurement(value))
            return;
        SumsOf<N> updated;
        loadAll<own>(updated, self.sums);
        const bool first = updated.count == 0;
        updated.add(value);
        const SequenceWriter writer(self.sequence);
        if (first || value > ownValue(self.maximum))
            storeWord(self.maximum, value);
        if (first || value < ownValue(self.minimum))
            storeWord(self.minimum, value);
        storeAll(updated, self.sums);
        if (!self.logging.load(own) || !self.ring)
            return;
        const quint64 end = self.logEnd.load(own);
        storeWord(self.ring[end % ringSize(self.logCapacity)], value);
        storeWord(self.logEnd, end + 1);
    }

    template <typename Products>
    static Q_ALWAYS_INLINE double mean(const StatisticCalculator& self)
    {
        Sums read;
        const quint64 before = self.sequence.load(foreign);
        load<Sums::ofMean, foreign>(read, self.sums);
        if (Q_LIKELY(isUnchanged(self.sequence, before))) {
            if constexpr (std::is_floating_point_v<N>) {
                const double mean = read.template mean<Products>();
                if (Q_LIKELY(mean == mean))
                    return mean;
            } else if (Q_LIKELY(read.isOrdinary())) {
                if constexpr (sizeof(N) == sizeof(quint64))
                    return read.template mean<Products>();
                else
                    return read.mean();
            }
        }
        return rareMean(self);
    }

    /// Returns all sums, reading again until no change has interfered.
    static Q_NEVER_INLINE SumsOf<N> readAll(const StatisticCalculator& self)
    {
        SumsOf<N> sums;
        readBetweenChanges(self.sequence, [&] { loadAll<foreign>(sums, self.sums); });
        return sums;
    }

    static Q_NEVER_INLINE double rareMean(const StatisticCalculator& self)
    {
        return readAll(self).mean();
    }

    template <typename Products>
    static Q_ALWAYS_INLINE double deviation(const StatisticCalculator& self)
    {
        Sums read;
        const quint64 before = self.sequence.load(foreign);
        load<Sums::ofDeviation, foreign>(read, self.sums);
        if (Q_LIKELY(isUnchanged(self.sequence, before))) {
            if constexpr (std::is_floating_point_v<N>) {
                const double variance = read.template variance<Products>();
                if (Q_LIKELY(variance > 0))
                    return std::sqrt(variance);
            } else if (Q_LIKELY(read.isOrdinary())) {
                return read.deviation();
            }
        }
        return rareDeviation(self);
    }

    static Q_NEVER_INLINE double rareDeviation(const StatisticCalculator& self)
    {
        return readAll(self).deviation();
    }

#if VANTREL_HAS_FUSED
    template <typename Products>
    VANTREL_FUSED static void addFused(StatisticCalculator& self, N value)
    {
        add<Products>(self, value);
    }

    template <typename Products>
    VANTREL_FUSED static double fusedMean(const StatisticCalculator& self)
    {
        return mean<Products>(self);
    }

    template <typename Products>
    VANTREL_FUSED static double fusedDeviation(const StatisticCalculator& self)
    {
        return deviation<Products>(self);
    }
#endif
};

template <typename N>
StatisticCalculator<N>::StatisticCalculator(std::optional<int> capacity)
    : logCapacity(std::max(capacity.value_or(0), 0))
{
    static_assert(sizeof(StatisticCalculator) <= 256);
    static_assert(std::atomic<quint64>::is_always_lock_free && std::atomic<N>::is_always_lock_free);
    // Not initialised, so that a large log takes physical memory only as it fills.
    if (logCapacity > 0)
        ring.reset(new std::atomic<N>[ringSize(logCapacity)]);
    storeAll(SumsOf<N>(), sums);
}

template <typename N>
void StatisticCalculator<N>::addValue(N value)
{
#if VANTREL_HAS_FUSED
    if constexpr (std::is_floating_point_v<N>) {
        if (runsFused)
            return Paths::template addFused<FusedProducts>(*this, value);
    }
#endif
    Paths::template add<PlainProducts>(*this, value);
}

template <typename N>
void StatisticCalculator<N>::clear()
{
    // To the next multiple, so that the sums are normalised after the same values as in a new
    // object.
    const SequenceWriter writer(sequence, evenChanges - sequence.load(own) % evenChanges);
    storeWord(maximum, N(0));
    storeWord(minimum, N(0));
    storeAll(SumsOf<N>(), sums);
    storeWord(logBegin, logEnd.load(own));
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

template <typename N>
double StatisticCalculator<N>::getAverage() const
{
#if VANTREL_HAS_FUSED
    if constexpr (gainsFromFused<N>) {
        if (runsFused)
            return Paths::template fusedMean<FusedProducts>(*this);
    }
#endif
    return Paths::template mean<PlainProducts>(*this);
}

template <typename N>
double StatisticCalculator<N>::getDeviation() const
{
#if VANTREL_HAS_FUSED
    if constexpr (gainsFromFused<N>) {
        if (runsFused)
            return Paths::template fusedDeviation<FusedProducts>(*this);
    }
#endif
    return Paths::template deviation<PlainProducts>(*this);
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
