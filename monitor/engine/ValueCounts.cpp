#include "ValueCounts.h"

#include <algorithm>

namespace monitor
{

void ValueCounts::add(double value)
{
    ++total;
    if (pieces.empty())
        pieces.push_back({value, 0, {}});
    const size_t place = pieceOf(value);
    Piece& piece = pieces.at(place);
    ++piece.count;
    const auto isLess = [](const Entry& entry, double other) { return entry.value < other; };
    const auto entry = std::lower_bound(piece.entries.begin(), piece.entries.end(), value, isLess);
    if (entry != piece.entries.end() && entry->value == value) {
        ++entry->count;
        return;
    }
    piece.entries.insert(entry, {value, 1});
    piece.first = piece.entries.front().value;
    if (piece.entries.size() > longestPiece)
        split(place);
}

void ValueCounts::remove(double value)
{
    const size_t place = pieceOf(value);
    Piece& piece = pieces.at(place);
    const auto isLess = [](const Entry& entry, double other) { return entry.value < other; };
    const auto entry = std::lower_bound(piece.entries.begin(), piece.entries.end(), value, isLess);
    --total;
    --piece.count;
    if (--entry->count > 0)
        return;
    piece.entries.erase(entry);
    if (piece.entries.empty())
        pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(place));
    else
        piece.first = piece.entries.front().value;
}

qint64 ValueCounts::below(double limit) const
{
    qint64 less = 0;
    for (size_t i = 0; i < pieces.size() && pieces.at(i).first < limit; ++i) {
        const bool isLast = i + 1 == pieces.size() || pieces.at(i + 1).first >= limit;
        if (!isLast) {
            less += pieces.at(i).count;
            continue;
        }
        for (const Entry& entry : pieces.at(i).entries)
            less += entry.value < limit ? entry.count : 0;
    }
    return less;
}

qint64 ValueCounts::above(double limit) const
{
    qint64 equal = 0;
    if (!pieces.empty()) {
        for (const Entry& entry : pieces.at(pieceOf(limit)).entries)
            equal += entry.value == limit ? entry.count : 0;
    }
    return total - below(limit) - equal;
}

double ValueCounts::median() const
{
    if (total == 0)
        return 0;
    const double upper = at(total / 2);
    return total % 2 == 1 ? upper : at(total / 2 - 1) / 2 + upper / 2;
}

/// The piece that \a value belongs to: the last one that begins with it or before it.
size_t ValueCounts::pieceOf(double value) const
{
    const auto isLess = [](double other, const Piece& piece) { return other < piece.first; };
    const auto next = std::upper_bound(pieces.begin(), pieces.end(), value, isLess);
    return next == pieces.begin() ? 0 : static_cast<size_t>(next - pieces.begin()) - 1;
}

void ValueCounts::split(size_t piece)
{
    std::vector<Entry>& entries = pieces.at(piece).entries;
    const auto middle = entries.begin() + static_cast<std::ptrdiff_t>(entries.size() / 2);
    Piece rest{middle->value, 0, {middle, entries.end()}};
    for (const Entry& entry : rest.entries)
        rest.count += entry.count;
    entries.erase(middle, entries.end());
    pieces.at(piece).count -= rest.count;
    pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(piece) + 1, std::move(rest));
}

/// The value at \a position, counted from 0 in order.
double ValueCounts::at(qint64 position) const
{
    size_t piece = 0;
    while (position >= pieces.at(piece).count)
        position -= pieces.at(piece++).count;
    const std::vector<Entry>& entries = pieces.at(piece).entries;
    size_t entry = 0;
    while (position >= entries.at(entry).count)
        position -= entries.at(entry++).count;
    return entries.at(entry).value;
}

} // namespace monitor
