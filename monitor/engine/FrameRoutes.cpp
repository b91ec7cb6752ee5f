#include "FrameRoutes.h"

namespace monitor
{

namespace
{

constexpr int initialBits = 8; // of a place in the table
constexpr int keyBits = 64;

} // namespace

void FrameRoutes::addUndecodedTo(UndecodedFrames& frames) const
{
    for (const FrameRoute& route : routes) {
        const qint64 count = route.undecoded + route.withoutSignals;
        if (!route.isTransported && count != 0)
            frames.add(route.id, count);
    }
}

void FrameRoutes::clear()
{
    routes.clear();
    table.assign(size_t{1} << initialBits, Entry{0, nullptr});
    shift = keyBits - initialBits;
}

FrameRoute& FrameRoutes::add(quint64 key, const BusId& id, bool isTransported)
{
    if (2 * (routes.size() + 1) > table.size()) {
        std::vector<Entry> previous(2 * table.size(), Entry{0, nullptr});
        previous.swap(table);
        --shift;
        for (const Entry& entry : previous) {
            if (entry.route != nullptr)
                insert(entry);
        }
    }
    routes.emplace_back();
    routes.back().id = id;
    routes.back().isTransported = isTransported;
    insert({key, &routes.back()});
    return routes.back();
}

void FrameRoutes::insert(const Entry& entry)
{
    size_t place = placeOf(entry.key);
    while (table[place].route != nullptr)
        place = (place + 1) & lastPlace();
    table[place] = entry;
}

} // namespace monitor
