#include "RatioTable.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace
{

using Row = std::map<std::string, std::vector<double>>;

/// The fastest repetition: what else a machine has to do only adds. 0 where there is none.
double fastestOf(const Row& row, const std::string& contender)
{
    const auto found = row.find(contender);
    if (found == row.end())
        return 0;
    return *std::min_element(found->second.begin(), found->second.end());
}

void printTime(double time)
{
    std::printf(time >= 1000 ? " %.0f |" : " %.1f |", time);
}

void printRunning(const std::string& name, const Row& row)
{
    const char* const others[] = {"Boost, locked", "Boost, locked by call", "Boost",  "GSL, locked",
                                  "GSL",           "Welford, locked",       "Welford"};
    const double own = fastestOf(row, "Vantrel");
    std::printf("| %s |", name.c_str());
    printTime(own);
    for (const char* other : others)
        printTime(fastestOf(row, other));
    std::printf(" %.2f | %.2f |\n", own / fastestOf(row, others[0]),
                own / fastestOf(row, others[1]));
}

void printList(const std::string& name, const Row& row)
{
    const char* const own[] = {"average", "deviation", "maximum",
                               "minimum", "median",    "statistics"};
    std::printf("| %s |", name.c_str());
    double parts = 0;
    for (const char* operation : own) {
        const double time = fastestOf(row, operation);
        printTime(time);
        const std::string part = operation;
        parts += part == "average" || part == "statistics" ? 0 : time;
    }
    const double loop = fastestOf(row, "loop"), nth = fastestOf(row, "nth_element");
    printTime(loop);
    printTime(nth);
    std::printf(" %.2f | %.2f | %.2f |\n", fastestOf(row, "statistics") / parts,
                fastestOf(row, "deviation") / loop, fastestOf(row, "median") / nth);
}

/// Whether the row compares an operation of a signal with its floor.
bool hasFloor(const Row& row)
{
    return row.count("floor") > 0;
}

void printFloor(const std::string& name, const Row& row)
{
    const double own = fastestOf(row, "own"), floor = fastestOf(row, "floor");
    std::printf("| %s |", name.c_str());
    printTime(own);
    printTime(floor);
    std::printf(" %.2f |\n", own / floor);
}

} // namespace

bool RatioTable::ReportContext(const Context&)
{
    return true;
}

void RatioTable::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred)
            continue;
        const std::string name = run.run_name.function_name;
        const auto slash = name.rfind('/');
        const std::string row = name.substr(0, slash);
        if (nanoseconds.find(row) == nanoseconds.end())
            rowNames.push_back(row);
        nanoseconds[row][name.substr(slash + 1)].push_back(run.GetAdjustedCPUTime());
    }
    std::cerr << '.' << std::flush;
}

void RatioTable::printFloors()
{
    std::puts("\n\nSignals: nanoseconds for a value, record or call, and the ratio to the same "
              "unavoidable steps written by hand with the same types of Qt.\n\n"
              "| | Vantrel | floor | ratio |\n|---|---|---|---|");
    for (const std::string& name : rowNames) {
        if (hasFloor(nanoseconds[name]))
            printFloor(name, nanoseconds[name]);
    }
}

void RatioTable::Finalize()
{
    std::sort(rowNames.begin(), rowNames.end());
    printFloors();
    std::puts("\n\nRunning calculators: nanoseconds for a value, and the ratio to Boost.\n\n"
              "| | Vantrel | Boost, locked | Boost, locked by call | Boost | GSL, locked | GSL | "
              "Welford, locked | Welford | ratio to locked | ratio to locked by call |\n"
              "|---|---|---|---|---|---|---|---|---|---|---|");
    for (const std::string& name : rowNames) {
        if (name.rfind("list", 0) != 0 && !hasFloor(nanoseconds[name]))
            printRunning(name, nanoseconds[name]);
    }
    std::puts("\nLists: microseconds for all values, and the ratios of all statistics to their "
              "parts, of the deviation to a plain loop on a vector (mean and mean square) and of "
              "the median to std::nth_element on one.\n\n"
              "| | average | deviation | maximum | minimum | median | all statistics | loop | "
              "nth_element | ratio to parts | to loop | to nth_element |\n"
              "|---|---|---|---|---|---|---|---|---|---|---|---|");
    for (const std::string& name : rowNames) {
        if (name.rfind("list", 0) == 0)
            printList(name, nanoseconds[name]);
    }
}
