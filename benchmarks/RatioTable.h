#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// Collects the repetitions of all benchmarks and prints how the fastest of each compare.
///
/// A benchmark is named "<row>/<contender>".
class RatioTable : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    void printFloors();

    std::vector<std::string> rowNames;
    std::map<std::string, std::map<std::string, std::vector<double>>> nanoseconds;
};

void registerRunningBenchmarks();
void registerListBenchmarks();
void registerIngestBenchmarks();
void registerSeriesBenchmarks();
