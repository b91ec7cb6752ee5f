#pragma once

#include <recording/calls.h>
#include <recording/typeName.h>

#include <QtCore/QList>

/// Records its calls and returns a different number for each statistic.
template <typename N>
class SimpleStatisticCalculator
{
public:
    static double getAverage(QList<N> values) { return call("getAverage", values), 61; }
    static double getDeviation(QList<N> values) { return call("getDeviation", values), 62; }
    static N calcMaximum(const QList<N>& values) { return call("calcMaximum", values), N(63); }
    static N calcMinimum(const QList<N>& values) { return call("calcMinimum", values), N(64); }

    static void calcStatistics(QList<N> values, N& maximum, N& minimum, double& median,
                               double& average, double& deviation)
    {
        call("calcStatistics", values);
        maximum = N(71);
        minimum = N(72);
        median = 73;
        average = 74;
        deviation = 75;
    }

private:
    static void call(const char* what, const QList<N>& values)
    {
        record(typeName<N>() + " " + what + " " + textOf(values));
        if (failOperations())
            throw StandinFailure();
    }
};
