#include "groups.h"

#include <QtCore/QSet>

#include <algorithm>
#include <map>
#include <tuple>

namespace monitor
{

namespace
{

/// Adds the snapshot of the group with this number to \a all. Rows name their buses if \a hasBuses.
void add(const Snapshot& snapshot, Session& session, size_t group, bool hasBuses, Snapshot& all)
{
    for (SnapshotRow row : snapshot.rows) {
        auto statistics = std::make_shared<SignalStatistics>(*row.statistics);
        for (const auto& [key, value] : session.origin().labels)
            statistics->labels.insert(key, value);
        if (hasBuses)
            statistics->bus = session.registry().busOf(row.signal);
        row.statistics = std::move(statistics);
        row.group = group;
        all.rows.append(row);
    }
    const auto sums = pointersTo(all.counts);
    const auto added = pointersTo(snapshot.counts);
    for (size_t i = 0; i < sums.size(); ++i)
        *sums[i] += *added[i];
    if (snapshot.firstTime)
        all.firstTime = std::min(*snapshot.firstTime, all.firstTime.value_or(*snapshot.firstTime));
    all.isComplete = all.isComplete && snapshot.isComplete;
}

/// The undecoded ids of all groups, most frequent first.
QVector<UndecodedId> undecodedIn(const std::vector<Session*>& groups, bool hasBuses)
{
    std::map<std::tuple<QString, bool, quint32>, qint64> frames;
    for (const Session* group : groups) {
        for (const UndecodedId& id : group->undecodedIdsByBus())
            frames[{hasBuses ? id.bus : QString(), id.extended, id.id}] += id.frames;
    }
    QVector<UndecodedId> ids;
    for (const auto& [id, times] : frames)
        ids.append({std::get<0>(id), std::get<2>(id), std::get<1>(id), times});
    std::stable_sort(ids.begin(), ids.end(), [](const UndecodedId& left, const UndecodedId& right) {
        return left.frames > right.frames;
    });
    return ids;
}

} // namespace

Snapshot calcSnapshot(const std::vector<Session*>& groups, bool isLabelled)
{
    if (groups.size() == 1 && !isLabelled)
        return groups.front()->calcSnapshot();
    std::vector<Snapshot> snapshots;
    QSet<QString> buses;
    for (Session* group : groups) {
        snapshots.push_back(group->calcSnapshot());
        for (const SnapshotRow& row : snapshots.back().rows)
            buses.insert(group->registry().busOf(row.signal));
    }
    const bool hasBuses = buses.size() > 1;
    Snapshot all;
    all.k = groups.front()->k();
    for (size_t i = 0; i < groups.size(); ++i)
        add(snapshots[i], *groups[i], i, hasBuses, all);
    std::stable_sort(all.rows.begin(), all.rows.end(),
                     [](const SnapshotRow& left, const SnapshotRow& right) {
                         const SignalStatistics& first = *left.statistics;
                         const SignalStatistics& second = *right.statistics;
                         return std::tie(first.name, first.bus, first.source) <
                                std::tie(second.name, second.bus, second.source);
                     });
    all.undecoded = undecodedIn(groups, hasBuses);
    return all;
}

} // namespace monitor
