#pragma once

#include "Random.h"

#include <QtCore/QFile>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

// The data sets whose exact results are in reference/reference.txt. reference/reference.py
// generates the same sets: change both together.

constexpr int million = 1000000;

template <typename N>
std::vector<N> generated(int count, const std::function<N(int)>& valueAt)
{
    std::vector<N> values;
    for (int i = 0; i < count; ++i)
        values.push_back(valueAt(i));
    return values;
}

template <typename N>
N randomValue(Random& random)
{
    if constexpr (std::is_integral_v<N>)
        return static_cast<N>(random.next());
    else
        return static_cast<N>(random.uniform());
}

template <typename N>
std::vector<N> outlierSet(std::size_t position)
{
    Random random(9);
    auto values = generated<N>(1001, [&](int) {
        if constexpr (std::is_integral_v<N>)
            return static_cast<N>(random.below(100));
        else
            return static_cast<N>(100 * random.uniform());
    });
    values[position] = static_cast<N>(1e15);
    return values;
}

template <typename N>
N signedPower(Random& random, int low, int high)
{
    const double mantissa = 1 + random.uniform();
    const int exponent = low + random.below(high - low + 1);
    const N magnitude = static_cast<N>(std::ldexp(mantissa, exponent));
    return random.below(2) != 0 ? -magnitude : magnitude;
}

template <typename N>
std::vector<N> magnitudes(quint64 seed, int low, int high)
{
    Random random(seed);
    return generated<N>(10000, [&](int) { return signedPower<N>(random, low, high); });
}

template <typename N>
std::vector<N> cancellingSet()
{
    Random random(7);
    const int reach = std::is_same_v<N, float> ? 60 : 400;
    auto values = generated<N>(
        103, [&](int i) { return signedPower<N>(random, -reach, i < 100 ? reach : -reach); });
    for (std::size_t i = 0; i < 100; ++i)
        values.push_back(-values[i]);
    return values;
}

template <typename N>
std::vector<N> neighbours(double base, double other)
{
    std::vector<N> values(1001, static_cast<N>(base));
    values[700] = static_cast<N>(other);
    return values;
}

/// Up to 300 values, close together or far apart, small or large.
template <typename N>
std::vector<N> smallSet(quint64 seed)
{
    Random random(seed);
    const int count = 1 + random.below(300);
    if constexpr (std::is_integral_v<N>) {
        constexpr int bits = 8 * sizeof(N);
        const N first = randomValue<N>(random);
        const N base = static_cast<N>(first >> random.below(bits));
        const int shift = random.below(bits);
        return generated<N>(count, [&](int) {
            const N distance = static_cast<N>(randomValue<N>(random) >> shift);
            return static_cast<N>(static_cast<quint64>(base) + static_cast<quint64>(distance));
        });
    } else {
        const int reach = std::is_same_v<N, float> ? 50 : 300;
        const int low = random.below(2 * reach + 1) - reach;
        const int high = low + random.below(61);
        N base = signedPower<N>(random, low, high + 20);
        if (random.below(2) != 0)
            base = 0;
        return generated<N>(count, [&](int) {
            const double distance = static_cast<double>(signedPower<N>(random, low, high));
            return static_cast<N>(static_cast<double>(base) + distance);
        });
    }
}

template <typename N>
std::vector<N> nistSet(const std::string& name)
{
    QFile file(QString::fromStdString(STATISTICS_TEST_DATA "/nist/" + name + ".dat"));
    std::vector<N> values;
    if (!file.open(QIODevice::ReadOnly))
        return values;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (!line.isEmpty() && !line.startsWith('#'))
            values.push_back(static_cast<N>(line.toDouble()));
    }
    return values;
}

template <typename N>
std::vector<N> integerSet(const std::string& name)
{
    constexpr N low = std::numeric_limits<N>::min(), high = std::numeric_limits<N>::max();
    if (name == "constant")
        return std::vector<N>(million, high);
    if (name == "top")
        return {high, N(high - 1), N(high - 2)};
    if (name == "spread")
        return {low, std::is_signed_v<N> ? N(0) : N(high / 2 + 1), high};
    if (name == "drift")
        return generated<N>(million, [](int i) { return static_cast<N>(10000000 + i); });
    Random random(8);
    if (name == "offset")
        return generated<N>(million,
                            [&](int) { return static_cast<N>(1000000000 + random.below(1000)); });
    return {};
}

template <typename N>
std::vector<N> floatingSet(const std::string& name)
{
    constexpr bool single = std::is_same_v<N, float>;
    constexpr int reach = single ? 120 : 1020, squares = single ? 60 : 500;
    if (name == "constant")
        return std::vector<N>(million, static_cast<N>(0.1));
    if (name == "drift")
        return generated<N>(million, [](int i) { return static_cast<N>(1e7 + i / 1000.0); });
    if (name == "magnitudes")
        return magnitudes<N>(2, -reach, reach);
    if (name == "magnitudesOfSquares")
        return magnitudes<N>(3, -squares, squares);
    if (name == "magnitudes200")
        return magnitudes<N>(4, -std::min(reach, 664), std::min(reach, 664));
    if (name == "greatest")
        return magnitudes<N>(5, reach, reach);
    if (name == "smallest")
        return magnitudes<N>(6, -reach - 20, -reach - 20);
    if (name == "cancelling")
        return cancellingSet<N>();
    if (name == "neighbours")
        return neighbours<N>(1, 1 + (single ? 0x1p-23 : 0x1p-52));
    if (name == "eighths")
        return neighbours<N>(1e15, 1e15 + 0.125);
    Random random(8);
    if (name == "offset")
        return generated<N>(million, [&](int) { return static_cast<N>(1e9 + random.uniform()); });
    return {};
}

template <typename N>
std::vector<N> dataSet(const std::string& name)
{
    if (name == "ramp")
        return generated<N>(100, [](int i) { return static_cast<N>(i); });
    Random random(1);
    if (name == "random")
        return generated<N>(million, [&](int) { return randomValue<N>(random); });
    if (name.rfind("small", 0) == 0 && name != "smallest")
        return smallSet<N>(1000 + std::stoull(name.substr(5)));
    if (name.rfind("outlier", 0) == 0)
        return outlierSet<N>(name == "outlierFirst" ? 0 : name == "outlierMiddle" ? 500 : 1000);
    std::vector<N> values;
    if constexpr (std::is_integral_v<N>)
        values = integerSet<N>(name);
    else
        values = floatingSet<N>(name);
    return values.empty() ? nistSet<N>(name) : values;
}
