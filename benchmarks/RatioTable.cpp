#include "RatioTable.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace
{

using Row = RatioTable::Row;

/// The fastest repetition, because other load on the machine only ever adds time; 0 if there is
/// none.
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

void printSignal(const std::string& name, const Row& row)
{
    const double own = fastestOf(row, "own"), floor = fastestOf(row, "floor");
    std::printf("| %s |", name.c_str());
    printTime(own);
    printTime(floor);
    std::printf(" %.2f |\n", own / floor);
}

enum class Kind { Running, List, Signal };

Kind kindOf(const std::string& name, const Row& row)
{
    if (row.count("floor") > 0)
        return Kind::Signal;
    return name.rfind("list", 0) == 0 ? Kind::List : Kind::Running;
}

/// A section of the results: the rows of one kind.
struct Section {
    Kind kind;
    const char* heading;
    void (*printRow)(const std::string& name, const Row& row);
};

constexpr Section sections[] = {
    {Kind::Running,
     "\n## Running calculators\n\n"
     "In nanoseconds per value, and the ratios to Boost.\n\n"
     "| | Vantrel | Boost, locked | Boost, locked by call | Boost | GSL, locked | GSL "
     "| Welford, locked | Welford | ratio to locked | ratio to locked by call |\n"
     "|---|---|---|---|---|---|---|---|---|---|---|",
     printRunning},
    {Kind::List,
     "\n## Lists\n\n"
     "In microseconds per list, and three ratios: of all statistics to the sum of deviation, "
     "maximum,\nminimum and median; of the deviation to a plain loop over a vector (mean and mean "
     "square); of the\nmedian to `std::nth_element` on a vector.\n\n"
     "| | average | deviation | maximum | minimum | median | all statistics | loop | nth_element "
     "| ratio to parts | to loop | to nth_element |\n"
     "|---|---|---|---|---|---|---|---|---|---|---|---|",
     printList},
    {Kind::Signal,
     "\n## Signals\n\n"
     "In nanoseconds per value, record or call, and the ratio to the floor: the same unavoidable "
     "steps,\nwritten by hand with the same Qt types.\n\n"
     "| | Vantrel | floor | ratio |\n|---|---|---|---|",
     printSignal},
};

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
        nanoseconds[name.substr(0, slash)][name.substr(slash + 1)].push_back(
            run.GetAdjustedCPUTime());
    }
    std::cerr << '.' << std::flush;
}

void RatioTable::Finalize()
{
    std::cerr << '\n';
    for (const Section& section : sections) {
        bool isEmpty = true;
        for (const auto& [name, row] : nanoseconds) {
            if (kindOf(name, row) != section.kind)
                continue;
            if (isEmpty)
                std::puts(section.heading);
            isEmpty = false;
            section.printRow(name, row);
        }
    }
}
