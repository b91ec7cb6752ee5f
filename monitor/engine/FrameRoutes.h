#pragma once

#include "FrameIds.h"
#include "SignalRegistry.h"

#include <deque>

namespace monitor
{

/// How the frames of one id on one bus are handled.
struct FrameRoute {
    BusId id;
    bool isTransported = false;
    int message = -1;                ///< the message that they belong to; -1: not described
    MessageSignals* found = nullptr; ///< the signals of the message; null: not described
    bool mayTransport = false;       ///< whether they may belong to the J1939 transport protocol
    qint64 undecoded = 0;            ///< the number of frames that cannot have signals
    qint64 withoutSignals = 0;       ///< the number of frames that could have had signals
};

/// Finds the route of a frame, which depends on its id only, in constant time. Each route is
/// determined once. This class is reentrant.
class FrameRoutes
{
public:
    FrameRoutes() { clear(); }

    /// The route of \a id. Calls \a determine to complete it if it is new. The reference is valid
    /// until clear().
    template <typename Determine>
    FrameRoute& of(const BusId& id, bool isTransported, Determine determine)
    {
        const quint64 key = keyOf(id, isTransported);
        for (size_t i = placeOf(key);; i = (i + 1) & lastPlace()) {
            const Entry& entry = table[i];
            if (entry.route == nullptr)
                break;
            if (entry.key == key)
                return *entry.route;
        }
        FrameRoute& added = add(key, id, isTransported);
        determine(added);
        return added;
    }

    /// Adds the counts of frames without signals to \a frames.
    void addUndecodedTo(UndecodedFrames& frames) const;

    /// Deletes all routes and their counts.
    void clear();

private:
    struct Entry {
        quint64 key;
        FrameRoute* route; // null: free
    };

    static quint64 keyOf(const BusId& id, bool isTransported)
    {
        return id.key() << 1U | (isTransported ? 1U : 0U);
    }

    size_t lastPlace() const { return table.size() - 1; }
    size_t placeOf(quint64 key) const
    {
        constexpr quint64 multiplier = 0x9E3779B97F4A7C15; // spreads neighbouring ids
        return static_cast<size_t>(key * multiplier >> shift);
    }
    FrameRoute& add(quint64 key, const BusId& id, bool isTransported);
    void insert(const Entry& entry);

    // A table with open addressing, at most half full, so that free places end every search soon.
    std::vector<Entry> table;
    int shift = 0;
    std::deque<FrameRoute> routes;
};

} // namespace monitor
