#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// Collects the repetitions of all benchmarks and prints tables in Markdown that compare the
/// fastest repetition of each contender.
///
/// A benchmark is named "<row>/<contender>".
class RatioTable : public benchmark::BenchmarkReporter
{
public:
    using Row = std::map<std::string, std::vector<double>>;

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    std::map<std::string, Row> nanoseconds;
};

void registerRunningBenchmarks();
void registerListBenchmarks();
void registerIngestBenchmarks();
void registerSeriesBenchmarks();
