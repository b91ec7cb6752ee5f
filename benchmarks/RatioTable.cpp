#include "RatioTable.h"
#include "measuring.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <regex>

namespace
{

constexpr double none = 0;

/// Rows that have the same contenders and the same target.
struct Group {
    const char* name;
    const char* rows; ///< a regular expression; what it captures is the name of the row
    const char* own;
    const char* peer; ///< nullptr: the value is the time itself
    const char* unit;
    double target;
};

const Group groups[] = {
    {"add and read, integers of up to 32 bits",
     "add and read, (((un)?signed )?(char|short|int), .*)", "Vantrel", "Boost, locked",
     "x locked Boost", 1},
    {"add and read, 64-bit integers", "add and read, ((unsigned )?long long, .*)", "Vantrel",
     "Boost, locked", "x locked Boost", 1.5},
    {"add and read, float and double", "add and read, ((float|double), .*)", "Vantrel",
     "Boost, locked", "x locked Boost", 1.25},
    {"add and read, every call locked", "add and read, (.*)", "Vantrel", "Boost, locked by call",
     "x locked Boost", none},
    {"add", "add, (.*)", "Vantrel", "Boost, locked", "x locked Boost", 1},
    {"deviation of a list, float and double", "list of (.* (float|double))", "deviation", "loop",
     "x plain loop", 2},
    {"deviation of a list, integers", "list of (.* (int|long long))", "deviation", "loop",
     "x plain loop", none},
    {"median of a list", "list of (.*)", "median", "nth_element", "x nth_element", none},
    {"all statistics of a list", "list of (.*)", "statistics", "parts", "x one by one", none},
    {"append one value", "append one (.*)", "own", "floor", "x floor", 1.25},
    {"replace the newest value", "replace by one (.*)", "own", "floor", "x floor", 1.25},
    {"fill a signal", "fill with (.*)", "own", "floor", "x floor", none},
    {"append a batch, rescale", "((append batch|rescale) .*)", "own", "floor", "x floor", none},
    {"store a value after a snapshot", "value after a snapshot of (.*)", "own", nullptr, "ns",
     none},
    {"values of a signal", "(?:value )?((median|statistics) of .*)", "own", "floor", "x floor",
     1.5},
    {"series of integers", "series (.* (UNSIGNED8|INTEGER32))", "own", "floor", "x floor", 1.5},
    {"series of REAL64", "series (.* REAL64)", "own", "floor", "x floor", 1.5},
    {"deviators", "deviators (.*)", "own", "floor", "x floor", none},
    {"cached statistics", "(cached .*|lower threshold)", "own", "floor", "x read", none},
    {"write and read records", "((write|read) .*)", "own", "floor", "x by hand", none},
};

/// NaN if the contender did not run.
double timeOf(const RatioTable::Times& times, const char* contender)
{
    const auto found = times.find(contender);
    return found == times.end() ? std::numeric_limits<double>::quiet_NaN() : found->second;
}

void reportRow(const Group& group, const std::string& name, const RatioTable::Times& times)
{
    Row row{QString::fromLatin1(group.name), QString::fromStdString(name), timeOf(times, group.own),
            QString::fromLatin1(group.unit)};
    if (group.peer != nullptr)
        row.value /= timeOf(times, group.peer);
    if (group.target != none)
        row.target = group.target;
    for (const auto& [contender, time] : times)
        row.raw.emplace_back(QString::fromStdString(contender) + ", ns", time);
    report(row);
}

} // namespace

bool RatioTable::ReportContext(const Context&)
{
    return true;
}

void RatioTable::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration)
            continue;
        const std::string name = run.run_name.function_name;
        if (run.error_occurred) {
            std::cerr << name << ": " << run.error_message << '\n';
            complete = false;
            continue;
        }
        const auto slash = name.rfind('/');
        Times& times = nanoseconds[name.substr(0, slash)];
        const double time = run.cpu_accumulated_time * 1e9 / static_cast<double>(run.iterations);
        const auto [known, isNew] = times.emplace(name.substr(slash + 1), time);
        if (!isNew)
            known->second = std::min(known->second, time);
    }
}

void RatioTable::Finalize()
{
    for (auto& [name, times] : nanoseconds) {
        if (times.count("statistics") > 0)
            times["parts"] = timeOf(times, "deviation") + timeOf(times, "maximum") +
                             timeOf(times, "minimum") + timeOf(times, "median");
    }
    std::map<std::string, int> groupsOf;
    for (const Group& group : groups) {
        const std::regex rows(group.rows);
        for (const auto& [name, times] : nanoseconds) {
            std::smatch match;
            if (!std::regex_match(name, match, rows))
                continue;
            ++groupsOf[name];
            reportRow(group, match[1], times);
        }
    }
    for (const auto& [name, times] : nanoseconds) {
        if (groupsOf[name] > 0)
            continue;
        std::cerr << name << ": belongs to no group; add one to RatioTable.cpp\n";
        complete = false;
    }
}
