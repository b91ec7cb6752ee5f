#pragma once

#include <QtCore/qglobal.h>

#include <vector>

namespace monitor
{

/// Counts steps by their approximate length in order to find their median. Not thread-safe; copies
/// are independent.
class StepCounts
{
public:
    /// Adds a step, which must be greater than 0. The cost depends on how widely the steps vary.
    void add(quint64 step);

    /// The median, of two middle steps the longer one; infinite without any steps. Exact if at most
    /// two different steps are within 3 % of it, else interpolated between the shortest and the
    /// longest of these.
    double median() const;

private:
    struct Bin {
        quint64 number;
        qint64 count;
        quint64 shortest;
        quint64 longest;
    };

    std::vector<Bin> bins; // without empty ones, in order of length
    qint64 total = 0;
};

} // namespace monitor
