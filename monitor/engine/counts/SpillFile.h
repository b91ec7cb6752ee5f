#pragma once

#include <QtCore/QString>

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

namespace monitor
{

/// A temporary file of pages, shared by all counts of a run, and the budget of memory they may use
/// before they have to write to it. The file is created with the first page. It has no name, so
/// nothing remains of it however the program ends. Pages that are no longer needed are used again;
/// the file becomes empty when no page is needed. Thread-safe.
class SpillFile
{
public:
    static constexpr size_t pageSize = size_t{8} * 1024;

    /// \a entries is the number of distinct values that all counts together may keep in memory, in
    /// addition to the first 1024 of each. One takes 24 bytes.
    explicit SpillFile(QString folder = defaultDirectory(), qint64 entries = qint64(1) << 20);
    ~SpillFile();

    SpillFile(const SpillFile&) = delete;
    SpillFile& operator=(const SpillFile&) = delete;

    /// The directory named by the environment variable TMPDIR, or /var/tmp if that is not set,
    /// because /tmp may be in memory.
    static QString defaultDirectory();

    /// Takes \a entries from the budget. Returns false if fewer are left.
    [[nodiscard]] bool reserve(size_t entries);
    void giveBack(size_t entries);

    /// Writes \a size bytes, at most pageSize, to a free page and returns its number. If that fails
    /// it sets error(), and all later calls fail too.
    [[nodiscard]] std::optional<quint32> write(const char* bytes, size_t size);

    /// Reads the first \a size bytes of \a page into \a bytes. Returns false and sets error() if
    /// that fails.
    [[nodiscard]] bool read(quint32 page, char* bytes, size_t size);

    /// Makes \a page free.
    void release(quint32 page);

    /// The size of the file in bytes, including free pages.
    qint64 size() const;

    const QString& folder() const { return directory; }

    /// Whether a page could not be read. Counts lack its values.
    bool hasLostValues() const;

    /// Empty, or an error: where it happened, the reason, and the consequence. That a page could
    /// not be read takes precedence.
    QString error() const;

private:
    std::optional<quint32> takePage();
    bool create();
    void failToWrite(const QString& action, int reason);

    const QString directory;
    // The remaining budget. No other memory is published through it, so relaxed order is enough.
    // It may be negative for a moment.
    std::atomic<qint64> account;

    mutable std::mutex mutex;
    int file = -1;     // changes only before the first page has a number, so its use needs no lock
    quint32 pages = 0; // in the file
    std::vector<quint32> freePages;
    QString writeError;
    QString readError;
};

} // namespace monitor
