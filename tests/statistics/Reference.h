#pragma once

#include "elementTypeList.h"

#include <QtCore/QFile>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

/// A number with more digits than a double has: the nearest double and the rest.
struct Truth {
    double nearest;
    double rest;

    /// The number of correct decimal digits of \a result, at most 17.
    double digitsOf(double result) const
    {
        const double error = std::fabs((result - nearest) - rest);
        if (error == 0 || nearest == 0)
            return error == 0 ? 17 : 0;
        return std::fmin(17, -std::log10(error / std::fabs(nearest)));
    }
};

/// The distance between \a a and \a b in units in the last place: 1 for neighbouring doubles.
inline quint64 ulpsBetween(double a, double b)
{
    const auto position = [](double value) {
        qint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits < 0 ? std::numeric_limits<qint64>::min() - bits : bits;
    };
    const qint64 first = position(a), second = position(b);
    return first < second ? static_cast<quint64>(second) - static_cast<quint64>(first)
                          : static_cast<quint64>(first) - static_cast<quint64>(second);
}

/// The exact results for one data set, from reference/reference.txt.
struct Reference {
    std::string set;
    std::size_t count;
    Truth mean;
    Truth deviation;
};

template <typename N>
std::vector<Reference> references()
{
    QFile file(STATISTICS_TEST_DATA "/reference/reference.txt");
    std::vector<Reference> result;
    if (!file.open(QIODevice::ReadOnly))
        return result;
    const QByteArray prefix = QByteArray(ElementTypeName::GetName<N>()) + ';';
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (!line.startsWith(prefix))
            continue;
        const QList<QByteArray> fields = line.split(';');
        const auto number = [&](int i) { return std::strtod(fields[i].constData(), nullptr); };
        result.push_back({fields[1].toStdString(),
                          fields[2].toULong(),
                          {number(3), number(4)},
                          {number(5), number(6)}});
    }
    return result;
}
