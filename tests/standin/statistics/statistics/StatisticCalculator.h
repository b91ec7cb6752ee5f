#pragma once

#include <recording/calls.h>
#include <recording/typeName.h>

#include <QtCore/QList>

#include <pthread.h>

#include <optional>

/// Records its calls. The average is 10, the deviation 2, the maximum 3, the minimum 1 and the
/// median 5.
template <typename N>
class StatisticCalculator
{
public:
    explicit StatisticCalculator(std::optional<int> capacity)
    {
        note(capacity.has_value() ? "construct with a log" : "construct");
        if (failingConstruction() > 0 && --failingConstruction() == 0)
            throw StandinFailure();
    }

    ~StatisticCalculator() { note("destroy"); }

    StatisticCalculator(const StatisticCalculator&) = delete;
    StatisticCalculator& operator=(const StatisticCalculator&) = delete;

    void addValue(N value) { call("addValue " + textOf(value)); }
    void clear() { call("clear"); }
    void setLogValues(bool enabled)
    {
        call(enabled ? "log on" : "log off");
        if (failLogSwitches())
            throw StandinFailure();
    }
    double getAverage() const
    {
        call("getAverage");
        if (endNextThread().exchange(false))
            pthread_exit(nullptr); // unwinds the stack like an exception
        return 10;
    }
    double getDeviation() const { return call("getDeviation"), 2; }
    N getMaximum() const { return call("getMaximum"), N(3); }
    N getMinimum() const { return call("getMinimum"), N(1); }
    double getMedian(QList<N> values) const { return call("getMedian " + textOf(values)), 5; }

private:
    static void note(const std::string& what) { record(typeName<N>() + " " + what); }

    static void call(const std::string& what)
    {
        note(what);
        if (failOperations())
            throw StandinFailure();
    }
};
