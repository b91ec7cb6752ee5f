#pragma once

#include <statistics/StatisticCalculator.h>

#include <boost/accumulators/accumulators.hpp>
#include <boost/accumulators/statistics/max.hpp>
#include <boost/accumulators/statistics/mean.hpp>
#include <boost/accumulators/statistics/min.hpp>
#include <boost/accumulators/statistics/stats.hpp>
#include <boost/accumulators/statistics/variance.hpp>
#include <gsl/gsl_rstat.h>

#include <cmath>
#include <memory>
#include <mutex>

/// The statistics that a signal asks for after every value.
struct MeanAndDeviation {
    double mean;
    double deviation;
};

template <typename N>
class Vantrel
{
public:
    void add(N value) { calculator.addValue(value); }
    double mean() const { return calculator.getAverage(); }
    double deviation() const { return calculator.getDeviation(); }

    MeanAndDeviation addAndRead(N value)
    {
        add(value);
        return {mean(), deviation()};
    }

private:
    StatisticCalculator<N> calculator{std::nullopt};
};

template <typename N>
class Boost
{
public:
    void add(N value) { accumulator(value); }
    double mean() const { return static_cast<double>(boost::accumulators::mean(accumulator)); }
    double deviation() const
    {
        return std::sqrt(static_cast<double>(boost::accumulators::variance(accumulator)));
    }

private:
    using Features =
        boost::accumulators::stats<boost::accumulators::tag::immediate_mean,
                                   boost::accumulators::tag::variance,
                                   boost::accumulators::tag::min, boost::accumulators::tag::max>;
    boost::accumulators::accumulator_set<N, Features> accumulator;
};

template <typename N>
class Gsl
{
public:
    void add(N value) { gsl_rstat_add(static_cast<double>(value), workspace.get()); }
    double mean() const { return gsl_rstat_mean(workspace.get()); }
    double deviation() const { return gsl_rstat_sd(workspace.get()); }

private:
    struct Free {
        void operator()(gsl_rstat_workspace* freed) const { gsl_rstat_free(freed); }
    };
    std::unique_ptr<gsl_rstat_workspace, Free> workspace{gsl_rstat_alloc()};
};

template <typename N>
class Welford
{
public:
    void add(N value)
    {
        const double number = static_cast<double>(value);
        maximum = count == 0 || value > maximum ? value : maximum;
        minimum = count == 0 || value < minimum ? value : minimum;
        const double distance = number - average;
        average += distance / static_cast<double>(++count);
        squares += distance * (number - average);
    }
    double mean() const { return average; }
    double deviation() const { return std::sqrt(squares / static_cast<double>(count)); }

private:
    long long count = 0;
    double average = 0;
    double squares = 0;
    N maximum = 0;
    N minimum = 0;
};

/// Without a lock: for a single thread.
template <typename Unprotected, typename N>
class Bare : public Unprotected
{
public:
    MeanAndDeviation addAndRead(N value)
    {
        this->add(value);
        return {this->mean(), this->deviation()};
    }
};

/// One lock for adding and reading together: the cheapest protection there is.
template <typename Unprotected, typename N>
class Locked
{
public:
    void add(N value)
    {
        const std::lock_guard<std::mutex> locker(mutex);
        unprotected.add(value);
    }

    MeanAndDeviation addAndRead(N value)
    {
        const std::lock_guard<std::mutex> locker(mutex);
        unprotected.add(value);
        return {unprotected.mean(), unprotected.deviation()};
    }

private:
    std::mutex mutex;
    Unprotected unprotected;
};

/// A lock for each operation, as an object with the interface of this library would need.
template <typename Unprotected, typename N>
class LockedByCall
{
public:
    void add(N value)
    {
        const std::lock_guard<std::mutex> locker(mutex);
        unprotected.add(value);
    }

    MeanAndDeviation addAndRead(N value)
    {
        add(value);
        return {get(&Unprotected::mean), get(&Unprotected::deviation)};
    }

private:
    double get(double (Unprotected::*operation)() const)
    {
        const std::lock_guard<std::mutex> locker(mutex);
        return (unprotected.*operation)();
    }

    std::mutex mutex;
    Unprotected unprotected;
};
