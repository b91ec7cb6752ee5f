#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

/// Collects the repetitions of all benchmarks and reports how the fastest of each compares with
/// that of a contender.
///
/// A benchmark is named "<row>/<contender>".
class RatioTable : public benchmark::BenchmarkReporter
{
public:
    /// The fastest repetition of each contender, because other load on the machine only ever adds
    /// time.
    using Times = std::map<std::string, double>;

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// Whether all benchmarks ran and were reported.
    bool isComplete() const { return complete; }

private:
    std::map<std::string, Times> nanoseconds;
    bool complete = true;
};

void registerRunningBenchmarks();
void registerListBenchmarks();
void registerIngestBenchmarks();
void registerSeriesBenchmarks();
