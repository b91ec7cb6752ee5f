#include "FrameFilter.h"

#include <utility>

namespace monitor
{

FrameFilter::FrameFilter(FrameSource& source, FrameChoice choice)
    : input(source), chosen(std::move(choice))
{
}

bool FrameFilter::next(Frame& frame)
{
    Frame chosenFrame; // frame must not change at the end
    if (read(&chosenFrame, 1) == 0)
        return false;
    frame = chosenFrame;
    return true;
}

int FrameFilter::read(Frame* frames, int size)
{
    if (chosen.buses.isEmpty() && !chosen.from && !chosen.to)
        return input.read(frames, size);
    int kept = 0;
    for (int count = 1; kept == 0 && count > 0;) {
        count = input.read(frames, size);
        for (int i = 0; i < count; ++i) {
            if (!isChosen(frames[i]))
                continue;
            if (kept < i)
                frames[kept] = frames[i];
            ++kept;
        }
    }
    delivered += kept;
    return kept;
}

QStringList FrameFilter::notes() const
{
    QStringList notes = input.notes();
    QStringList known = input.buses();
    known.removeAll(QString());
    if (known.isEmpty() && !busIsChosen.isEmpty()) // there were frames
        return notes + QStringList(QStringLiteral(
                           "the recording does not name its buses; leave out --bus"));
    for (const QString& bus : chosen.buses) {
        if (!known.contains(bus))
            notes += QStringLiteral("bus \"%1\" has no frames (buses: %2)")
                         .arg(bus, known.join(QStringLiteral(", ")));
    }
    if (withoutTime > 0)
        notes +=
            QStringLiteral("%1 frame(s) without a time were left out because of --from or --to")
                .arg(withoutTime);
    const bool wantsAbsolute =
        (chosen.from && chosen.from->isAbsolute) || (chosen.to && chosen.to->isAbsolute);
    if (wantsAbsolute && first && *first < firstAbsoluteTime)
        notes += QStringLiteral("the times of the recording are not absolute; give --from and --to "
                                "in seconds since its first frame");
    else if (delivered == 0 && outsideTime > 0)
        notes += QStringLiteral("no frames in the time chosen by --from and --to");
    return notes;
}

bool FrameFilter::isChosen(const Frame& frame)
{
    if (!first)
        first = frame.nanoseconds; // of whatever bus
    return (chosen.buses.isEmpty() || isOnChosenBus(frame.bus)) &&
           ((!chosen.from && !chosen.to) || isInTime(frame));
}

bool FrameFilter::isOnChosenBus(quint16 bus)
{
    if (bus >= busIsChosen.size()) {
        const QStringList names = input.buses();
        for (auto i = busIsChosen.size(); i < names.size(); ++i)
            busIsChosen.append(chosen.buses.contains(names.at(i)));
    }
    return busIsChosen.value(bus);
}

bool FrameFilter::isInTime(const Frame& frame)
{
    if (!frame.nanoseconds) {
        ++withoutTime;
        return false;
    }
    const qint64 time = *frame.nanoseconds;
    const bool isInside = (!chosen.from || time >= timeOf(*chosen.from, *first)) &&
                          (!chosen.to || time <= timeOf(*chosen.to, *first));
    outsideTime += isInside ? 0 : 1;
    return isInside;
}

} // namespace monitor
