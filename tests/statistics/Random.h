#pragma once

#include <QtCore/QtGlobal>

#include <algorithm>

/// SplitMix64: yields the same numbers on every machine, and in the script that computes the
/// reference.
class Random
{
public:
    explicit Random(quint64 seed) : state(seed) {}

    quint64 next()
    {
        quint64 z = state += 0x9E3779B97F4A7C15;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    int below(int limit) { return static_cast<int>(next() % static_cast<quint64>(limit)); }

    /// At least 0 and less than 1.
    double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }

    template <typename List>
    void shuffle(List& values)
    {
        for (auto i = values.size(); i > 1; --i)
            std::swap(values[i - 1],
                      values[static_cast<decltype(i)>(next() % static_cast<quint64>(i))]);
    }

private:
    quint64 state;
};
