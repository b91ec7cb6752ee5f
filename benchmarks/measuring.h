#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

/// Something that was measured.
struct Row {
    QString group; ///< ./bench shows the worst row of a group
    QString name;  ///< in the group
    double value;
    QString unit;                                  ///< of the value and the target
    std::optional<double> target = {};             ///< the highest acceptable value
    std::vector<std::pair<QString, double>> raw{}; ///< figures from which the value was computed
    bool isTargetMinimum = false;                  ///< the target is the lowest acceptable value
};

/// Prints \a row as a line of JSON, which report.py reads. A value that is not finite becomes null,
/// which report.py rejects.
inline void report(const Row& row)
{
    QJsonArray raw;
    for (const auto& [name, value] : row.raw)
        raw.append(QJsonArray{name, value});
    const QJsonObject line{{"group", row.group},
                           {"name", row.name},
                           {"value", row.value},
                           {"unit", row.unit},
                           {"target", row.target ? *row.target : QJsonValue()},
                           {"isTargetMinimum", row.isTargetMinimum},
                           {"raw", raw}};
    std::puts(QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

/// The processor time that this process has used.
inline double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The result of \a function, which is run in a process of its own, whose memory has no traces of
/// earlier runs. Throws an exception if that process fails.
template <typename Function>
auto runApart(Function function)
{
    using Result = decltype(function());
    static_assert(std::is_trivially_copyable_v<Result>);
    int ends[2] = {};
    if (pipe(ends) != 0)
        throw std::runtime_error("cannot create a pipe");
    std::fflush(stdout);
    malloc_trim(0);
    const pid_t child = fork();
    if (child == 0) {
        try {
            const Result result = function();
            _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            _exit(1);
        }
    }
    close(ends[1]);
    Result result{};
    const bool isComplete = child > 0 && read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    if (!isComplete)
        throw std::runtime_error("a process that measures has failed");
    return result;
}
