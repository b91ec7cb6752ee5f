#include "FrameIds.h"

#include <algorithm>
#include <tuple>

namespace monitor
{

namespace
{

constexpr quint64 transportedFlag = 1ULL << 63U;

auto orderOf(const UndecodedId& id)
{
    return std::make_tuple(-id.frames, id.bus, id.extended, id.id);
}

auto orderOf(const IdStatistics& id)
{
    return std::make_tuple(id.isTransported, id.bus, id.extended, id.id);
}

template <typename T>
void sort(QVector<T>& ids)
{
    std::sort(ids.begin(), ids.end(),
              [](const T& left, const T& right) { return orderOf(left) < orderOf(right); });
}

} // namespace

QVector<UndecodedId> UndecodedFrames::sorted(const QStringList& busNames) const
{
    QVector<UndecodedId> ids;
    for (auto i = counts.cbegin(); i != counts.cend(); ++i) {
        if (i.value() <= 0)
            continue;
        const auto bus = static_cast<int>(i.key() >> 33U);
        ids.append({busNames.value(bus), static_cast<quint32>(i.key()), (i.key() >> 32U & 1U) != 0,
                    i.value()});
    }
    sort(ids);
    return ids;
}

void FrameIds::take(const Frame& frame, int message)
{
    Record& record = recordOf(busIdOf(frame), false, message);
    ++record.frames;
    if (frame.remote) {
        ++record.remoteFrames;
        return;
    }
    addData(record, frame.data.data(), frame.length);
    addTime(record, frame.nanoseconds);
}

void FrameIds::take(const Payload& transported, int message)
{
    Record& record =
        recordOf({transported.bus, transported.id, transported.extended}, true, message);
    ++record.frames;
    addData(record, transported.data, transported.length);
    addTime(record, transported.nanoseconds);
}

FrameIds::Record& FrameIds::recordOf(const BusId& id, bool isTransported, int message)
{
    const quint64 key = id.key() | (isTransported ? transportedFlag : 0);
    const auto known = positions.constFind(key);
    if (known != positions.cend())
        return records[known.value()];
    positions.insert(key, records.size());
    Record record;
    record.id = id;
    record.isTransported = isTransported;
    record.message = message;
    records.push_back(std::move(record));
    return records.back();
}

void FrameIds::addData(Record& record, const quint8* data, int length)
{
    if (record.shortest < 0) {
        record.first = QByteArray(reinterpret_cast<const char*>(data), length);
        record.changing = QByteArray(length, 0);
        record.shortest = record.longest = length;
        return;
    }
    // Bytes that only some of the frames have also count as changing.
    for (int i = 0; i < std::min(length, record.shortest); ++i) {
        if (data[i] != static_cast<quint8>(record.first.at(i)))
            record.changing[i] = 1;
    }
    record.shortest = std::min(record.shortest, length);
    record.longest = std::max(record.longest, length);
}

void FrameIds::addTime(Record& record, std::optional<qint64> nanoseconds)
{
    constexpr double nanosecondsPerMillisecond = 1e6;
    if (nanoseconds && record.newest && *nanoseconds >= *record.newest) {
        if (!record.periods) {
            record.periods = std::make_unique<GenericSignalImpl<CANopenObjectValue>>();
            record.periods->setDatatype(CAN::CANopenDataType::REAL64);
        }
        CANopenObjectValue period;
        period.rawValue =
            static_cast<double>(*nanoseconds - *record.newest) / nanosecondsPerMillisecond;
        record.periods->setNewValue(std::move(period), 1, 0);
        ++record.periodCount;
    }
    record.newest = nanoseconds;
}

QVector<IdStatistics> FrameIds::calcStatistics(const QVector<CatalogueMessage>& messages,
                                               const QStringList& busNames) const
{
    QVector<IdStatistics> ids;
    std::vector<bool> isSeen(static_cast<std::size_t>(messages.size()));
    for (const Record& record : records) {
        IdStatistics id;
        id.bus = busNames.value(record.id.bus);
        id.id = record.id.id;
        id.extended = record.id.extended;
        id.isTransported = record.isTransported;
        if (record.message >= 0) {
            id.message = messages.at(record.message).name;
            id.cycleTime = messages.at(record.message).cycleTime;
            isSeen[static_cast<std::size_t>(record.message)] = true;
        }
        id.frames = record.frames;
        id.remoteFrames = record.remoteFrames;
        id.shortest = std::max(record.shortest, 0);
        id.longest = record.longest;
        for (int i = 0; i < id.longest; ++i) {
            if (i >= id.shortest || record.changing.at(i) != 0)
                id.changing.append(i);
        }
        if (record.periods) {
            id.averagePeriod = record.periods->calcAverage();
            id.deviation = record.periods->calcDeviation();
            id.minimum = record.periods->getMin();
            id.maximum = record.periods->getMax();
            id.periods = record.periodCount;
        }
        ids.append(id);
    }
    for (int i = 0; i < messages.size(); ++i) {
        const CatalogueMessage& message = messages.at(i);
        if (isSeen[static_cast<std::size_t>(i)])
            continue;
        IdStatistics id;
        id.bus = busNames.isEmpty() ? QString() : message.bus;
        id.id = message.id;
        id.extended = message.extended;
        id.message = message.name;
        id.cycleTime = message.cycleTime;
        ids.append(id);
    }
    sort(ids);
    return ids;
}

} // namespace monitor
