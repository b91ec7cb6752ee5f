#include "SpilledRuns.h"

#include <QtCore/QtAlgorithms>
#include <QtCore/QtEndian>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace monitor
{

namespace
{

using Page = SpilledRuns::Page;
using Run = SpilledRuns::Run;

constexpr size_t mergedAtOnce = 8;

// An entry is a byte with the sizes of two numbers, and these numbers, little-endian without
// leading zero bytes: the distance from the key before, less one, and the count, less one. So the
// next number of a counter takes one byte, and reading needs no branches.
constexpr size_t slack = 32; // numbers are read and written as 8 bytes each

size_t sizeOf(quint64 number)
{
    return 8 - qCountLeadingZeroBits(number) / 8;
}

/// Keeps a number of the given size in bytes.
constexpr std::array<quint64, 16> masks = [] {
    std::array<quint64, 16> result{};
    for (size_t size = 0; size < 16; ++size)
        result[size] = size < 8 ? (quint64(1) << (8 * size)) - 1 : ~quint64(0);
    return result;
}();

/// Calls \a visit for each entry of \a page until it returns false. Returns false if the page
/// cannot be read.
template <typename Visit>
bool readPage(SpillFile& file, const Page& page, Visit visit)
{
    std::array<char, SpillFile::pageSize + slack> bytes;
    if (!file.read(page.number, bytes.data(), page.size))
        return false;
    KeyCount entry{page.first - 1, 0};
    for (size_t at = 0; at < page.size;) {
        const auto sizes = static_cast<uchar>(bytes[at]);
        const size_t keySize = sizes & 15U;
        const size_t timesSize = sizes >> 4U;
        const char* const numbers = bytes.data() + at + 1;
        entry.key += 1 + (qFromLittleEndian<quint64>(numbers) & masks[keySize]);
        entry.times = 1 + (qFromLittleEndian<quint64>(numbers + keySize) & masks[timesSize]);
        if (!visit(entry))
            break;
        at += 1 + keySize + timesSize;
    }
    return true;
}

/// Reads all entries of \a page. Returns false if that fails.
bool readPage(SpillFile& file, const Page& page, std::vector<KeyCount>& entries)
{
    entries.clear();
    return readPage(file, page, [&](const KeyCount& entry) {
        entries.push_back(entry);
        return true;
    });
}

/// The first page of \a run that begins with a key greater than \a last.
std::vector<Page>::const_iterator pageAfter(const Run& run, quint64 last)
{
    const auto isLess = [](quint64 key, const Page& page) { return key < page.first; };
    return std::upper_bound(run.pages.begin(), run.pages.end(), last, isLess);
}

/// Writes a run. The pages belong to the writer until it has finished.
class RunWriter
{
public:
    explicit RunWriter(SpillFile& spillFile) : file(spillFile) {}

    ~RunWriter()
    {
        for (const Page& written : run.pages)
            file.release(written.number);
    }

    RunWriter(const RunWriter&) = delete;
    RunWriter& operator=(const RunWriter&) = delete;

    void add(const KeyCount& entry)
    {
        if (append(entry))
            return;
        writePage();
        append(entry);
    }

    /// The run, or nothing if it could not be written.
    std::optional<Run> finish()
    {
        writePage();
        if (!isSound)
            return std::nullopt;
        return std::exchange(run, {});
    }

private:
    /// Returns false if the page has no room for \a entry.
    bool append(const KeyCount& entry)
    {
        if (used == 0) {
            page = {entry.key, run.count, 0, 0};
            run.last = entry.key - 1;
        }
        const quint64 distance = entry.key - run.last - 1;
        const size_t keySize = sizeOf(distance);
        const size_t timesSize = sizeOf(entry.times - 1);
        const size_t next = used + 1 + keySize + timesSize;
        if (next > SpillFile::pageSize)
            return false;
        char* const numbers = bytes.data() + used + 1;
        bytes[used] = static_cast<char>(keySize | timesSize << 4U);
        qToLittleEndian(distance, numbers);
        qToLittleEndian(entry.times - 1, numbers + keySize);
        used = next;
        run.last = entry.key;
        run.count += entry.times;
        return true;
    }

    void writePage()
    {
        page.size = static_cast<quint32>(used);
        run.pages.push_back(page);
        const auto number = isSound ? file.write(bytes.data(), used) : std::nullopt;
        isSound = number.has_value();
        if (isSound)
            run.pages.back().number = *number;
        else
            run.pages.pop_back();
        used = 0;
    }

    SpillFile& file;
    Run run;
    Page page{};
    std::array<char, SpillFile::pageSize + slack> bytes;
    size_t used = 0;
    bool isSound = true;
};

/// Reads the entries of a run in order.
class RunReader
{
public:
    RunReader(SpillFile& spillFile, const Run& spilled) : file(&spillFile), run(&spilled)
    {
        readNextPage();
    }
    explicit RunReader(std::vector<KeyCount> memory) : entries(std::move(memory)) {}

    bool atEnd() const { return next == entries.size(); }
    const KeyCount& current() const { return entries[next]; }
    void advance()
    {
        if (++next == entries.size() && run)
            readNextPage();
    }
    bool isSound() const { return !isPageMissing; }

private:
    void readNextPage()
    {
        next = 0;
        entries.clear();
        while (entries.empty() && nextPage < run->pages.size())
            isPageMissing |= !readPage(*file, run->pages[nextPage++], entries);
    }

    SpillFile* file = nullptr;
    const Run* run = nullptr;
    size_t nextPage = 0;
    std::vector<KeyCount> entries;
    size_t next = 0;
    bool isPageMissing = false;
};

/// Visits the entries of all readers in order of keys, those with equal keys as one. Returns false
/// if pages were missing.
template <typename Visit>
bool merge(std::vector<RunReader> readers, Visit visit)
{
    bool isSound = true;
    std::vector<quint64> keys; // the current ones, close together because all are compared
    const auto drop = [&](size_t reader) {
        isSound &= readers[reader].isSound();
        readers.erase(readers.begin() + static_cast<std::ptrdiff_t>(reader));
    };
    for (size_t i = readers.size(); i-- > 0;) {
        if (readers[i].atEnd())
            drop(i);
    }
    keys.reserve(readers.size());
    for (const RunReader& reader : readers)
        keys.push_back(reader.current().key);
    KeyCount merged{0, 0};
    while (!keys.empty()) {
        size_t least = 0;
        quint64 key = keys[0];
        for (size_t i = 1; i < keys.size(); ++i) {
            least = keys[i] < key ? i : least;
            key = std::min(keys[i], key);
        }
        if (merged.key != key && merged.times > 0) {
            visit(merged);
            merged.times = 0;
        }
        merged = {key, merged.times + readers[least].current().times};
        readers[least].advance();
        if (readers[least].atEnd()) {
            drop(least);
            keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(least));
        } else {
            keys[least] = readers[least].current().key;
        }
    }
    if (merged.times > 0)
        visit(merged);
    return isSound;
}

size_t levelOf(const Run& run)
{
    size_t level = 0;
    for (size_t pages = run.pages.size(); pages >= mergedAtOnce; pages /= mergedAtOnce)
        ++level;
    return level;
}

bool isHalfFull(const Run& run)
{
    size_t used = 0;
    for (const Page& page : run.pages)
        used += page.size;
    return used * 2 >= run.pages.size() * SpillFile::pageSize;
}

/// Counts the values of a run, or of entries in memory, whose key is at most a given one. Remembers
/// the last page.
class RankReader
{
public:
    RankReader(SpillFile& spillFile, const Run& spilled) : file(&spillFile), run(&spilled) {}
    explicit RankReader(std::vector<KeyCount> memory) : entries(std::move(memory)) { addUp(); }

    quint64 countTo(quint64 last)
    {
        if (!run)
            return countInEntries(last);
        const auto next = pageAfter(*run, last);
        if (next == run->pages.begin())
            return 0;
        const Page& page = *(next - 1);
        if (current != &page) {
            isPageMissing |= !readPage(*file, page, entries);
            current = &page;
            addUp();
        }
        return page.before + countInEntries(last);
    }

    /// The same without the page that contains \a last, so that none is read.
    quint64 countToAtLeast(quint64 last)
    {
        if (!run)
            return countInEntries(last);
        const auto next = pageAfter(*run, last);
        return next == run->pages.begin() ? 0 : (next - 1)->before;
    }

    /// The same with the whole page.
    quint64 countToAtMost(quint64 last)
    {
        if (!run)
            return countInEntries(last);
        const auto next = pageAfter(*run, last);
        return next == run->pages.end() ? run->count : next->before;
    }

    bool isSound() const { return !isPageMissing; }

private:
    quint64 countInEntries(quint64 last) const
    {
        const auto isLess = [](quint64 key, const KeyCount& entry) { return key < entry.key; };
        const auto next = std::upper_bound(entries.begin(), entries.end(), last, isLess);
        return next == entries.begin() ? 0 : (next - 1)->times;
    }

    void addUp()
    {
        quint64 sum = 0;
        for (KeyCount& entry : entries)
            entry.times = sum += entry.times;
    }

    SpillFile* file = nullptr;
    const Run* run = nullptr;
    const Page* current = nullptr;
    std::vector<KeyCount> entries; // their times are added up
    bool isPageMissing = false;
};

/// The smallest key from \a first on for which \a countTo is greater than \a position, or \a end.
template <typename Count>
quint64 smallestKey(quint64 first, quint64 end, quint64 position, Count countTo)
{
    while (first < end) {
        const quint64 middle = first + (end - first) / 2;
        if (countTo(middle) > position)
            end = middle;
        else
            first = middle + 1;
    }
    return first;
}

} // namespace

void SpilledRuns::clear()
{
    for (const Run& run : runs)
        release(run);
    runs.clear();
    isPageMissing = false;
}

bool SpilledRuns::add(const std::vector<KeyCount>& entries)
{
    if (!file)
        return false;
    RunWriter writer(*file);
    for (const KeyCount& entry : entries)
        writer.add(entry);
    auto run = writer.finish();
    if (!run)
        return false;
    place(std::move(*run));
    return true;
}

quint64 SpilledRuns::countTo(quint64 last) const
{
    quint64 sum = 0;
    const auto addEntry = [&](const KeyCount& entry) {
        const bool isCounted = entry.key <= last;
        sum += isCounted ? entry.times : 0;
        return isCounted;
    };
    for (const Run& run : runs) {
        const auto next = pageAfter(run, last);
        if (next == run.pages.begin())
            continue;
        sum += (next - 1)->before;
        isPageMissing |= !readPage(*file, *(next - 1), addEntry);
    }
    return sum;
}

quint64 SpilledRuns::keyAt(quint64 position, std::vector<KeyCount> entries) const
{
    std::vector<RankReader> readers;
    readers.emplace_back(std::move(entries));
    for (const Run& run : runs)
        readers.emplace_back(*file, run);
    const auto sumOf = [&](auto count) {
        return [&readers, count](quint64 last) {
            quint64 sum = 0;
            for (RankReader& reader : readers)
                sum += (reader.*count)(last);
            return sum;
        };
    };
    // Bounds from the first keys of pages leave a few pages of each run to read.
    constexpr quint64 greatest = std::numeric_limits<quint64>::max();
    const quint64 first = smallestKey(0, greatest, position, sumOf(&RankReader::countToAtMost));
    const quint64 end = smallestKey(first, greatest, position, sumOf(&RankReader::countToAtLeast));
    const quint64 key = smallestKey(first, end, position, sumOf(&RankReader::countTo));
    for (const RankReader& reader : readers)
        isPageMissing |= !reader.isSound();
    return key;
}

void SpilledRuns::forEach(std::vector<KeyCount> entries,
                          const std::function<void(quint64 key, quint64 times)>& visit) const
{
    std::vector<RunReader> readers;
    readers.emplace_back(std::move(entries));
    for (const Run& run : runs)
        readers.emplace_back(*file, run);
    const auto visitEntry = [&](const KeyCount& entry) { visit(entry.key, entry.times); };
    isPageMissing |= !merge(std::move(readers), visitEntry);
}

/// Adds \a run. If all its keys follow those of another run, as with a counter, the two become one
/// without being written again.
void SpilledRuns::place(Run run)
{
    const auto goesBefore = [&](const Run& other) { return other.last < run.pages.front().first; };
    const auto other = std::find_if(runs.begin(), runs.end(), goesBefore);
    if (other == runs.end() || !isHalfFull(run)) {
        const size_t level = levelOf(run);
        runs.push_back(std::move(run));
        mergeLevel(level);
        return;
    }
    for (Page& page : run.pages)
        page.before += other->count;
    other->pages.insert(other->pages.end(), run.pages.begin(), run.pages.end());
    other->last = run.last;
    other->count += run.count;
    mergeLevel(levelOf(*other));
}

/// Merges the runs of \a level if there are enough of them. If that fails, they remain.
void SpilledRuns::mergeLevel(size_t level)
{
    const auto isOther = [=](const Run& run) { return levelOf(run) != level; };
    const auto first = std::stable_partition(runs.begin(), runs.end(), isOther);
    if (static_cast<size_t>(runs.end() - first) < mergedAtOnce)
        return;
    std::vector<RunReader> readers;
    for (auto run = first; run != runs.end(); ++run)
        readers.emplace_back(*file, *run);
    RunWriter writer(*file);
    const bool isSound =
        merge(std::move(readers), [&](const KeyCount& entry) { writer.add(entry); });
    auto merged = writer.finish();
    if (!isSound || !merged)
        return;
    std::for_each(first, runs.end(), [&](const Run& run) { release(run); });
    runs.erase(first, runs.end());
    place(std::move(*merged));
}

void SpilledRuns::release(const Run& run)
{
    for (const Page& page : run.pages)
        file->release(page.number);
}

} // namespace monitor
