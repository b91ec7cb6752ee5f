#include "SpillFile.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace monitor
{

namespace
{

/// Transfers \a size bytes, in several parts if necessary. Returns an errno if that fails, else 0.
template <typename Transfer>
int transferAll(Transfer transfer, size_t size)
{
    for (size_t done = 0; done < size;) {
        const ssize_t moved = transfer(done);
        if (moved < 0 && errno == EINTR)
            continue;
        if (moved <= 0)
            return moved < 0 ? errno : EIO;
        done += static_cast<size_t>(moved);
    }
    return 0;
}

off_t placeOf(quint32 page)
{
    return static_cast<off_t>(page) * static_cast<off_t>(SpillFile::pageSize);
}

/// Writing beyond this limit would end the process by a signal.
bool isBeyondFileSizeLimit(off_t end)
{
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < static_cast<rlim_t>(end);
}

} // namespace

SpillFile::SpillFile(QString folder, qint64 entries)
    : directory(std::move(folder)), account(entries)
{
}

SpillFile::~SpillFile()
{
    if (file >= 0)
        close(file);
}

QString SpillFile::defaultDirectory()
{
    QString chosen = qEnvironmentVariable("TMPDIR");
    if (!chosen.isEmpty())
        return chosen; // unlike QDir::tempPath(), even if it does not exist
    const QString large = QStringLiteral("/var/tmp");
    return QDir(large).exists() ? large : QDir::tempPath();
}

bool SpillFile::reserve(size_t entries)
{
    const auto wanted = static_cast<qint64>(entries);
    if (account.fetch_sub(wanted, std::memory_order_relaxed) >= wanted)
        return true;
    giveBack(entries);
    return false;
}

void SpillFile::giveBack(size_t entries)
{
    account.fetch_add(static_cast<qint64>(entries), std::memory_order_relaxed);
}

std::optional<quint32> SpillFile::write(const char* bytes, size_t size)
{
    const auto page = takePage();
    if (!page)
        return page;
    const off_t place = placeOf(*page);
    const auto transfer = [&](size_t done) {
        return pwrite(file, bytes + done, size - done, place + static_cast<off_t>(done));
    };
    const bool isTooLong = isBeyondFileSizeLimit(place + static_cast<off_t>(size));
    const int reason = isTooLong ? EFBIG : transferAll(transfer, size);
    if (reason == 0)
        return page;
    release(*page);
    const std::lock_guard<std::mutex> lock(mutex);
    failToWrite(QStringLiteral("written"), reason);
    return std::nullopt;
}

bool SpillFile::read(quint32 page, char* bytes, size_t size)
{
    const off_t place = placeOf(page);
    const auto transfer = [&](size_t done) {
        return pread(file, bytes + done, size - done, place + static_cast<off_t>(done));
    };
    const int reason = transferAll(transfer, size);
    if (reason == 0)
        return true;
    const std::lock_guard<std::mutex> lock(mutex);
    readError = QStringLiteral("%1: temporary file cannot be read: %2; medians and numbers of "
                               "deviators are wrong; repeat the run with TMPDIR on another disk")
                    .arg(directory, qt_error_string(reason));
    return false;
}

void SpillFile::release(quint32 page)
{
    const std::lock_guard<std::mutex> lock(mutex);
    freePages.push_back(page);
    if (freePages.size() == pages && ftruncate(file, 0) == 0) {
        pages = 0;
        freePages = {};
    }
}

qint64 SpillFile::size() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return pages * static_cast<qint64>(pageSize);
}

bool SpillFile::hasLostValues() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return !readError.isEmpty();
}

QString SpillFile::error() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return readError.isEmpty() ? writeError : readError;
}

std::optional<quint32> SpillFile::takePage()
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (!writeError.isEmpty() || !readError.isEmpty())
        return std::nullopt;
    if (!freePages.empty()) {
        const quint32 page = freePages.back();
        freePages.pop_back();
        return page;
    }
    if (file < 0 && !create())
        return std::nullopt;
    return pages++;
}

bool SpillFile::create()
{
    QByteArray name = QFile::encodeName(directory + QStringLiteral("/vantrel-XXXXXX"));
    file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0)
        failToWrite(QStringLiteral("created"), errno);
    else
        unlink(name.constData());
    return file >= 0;
}

void SpillFile::failToWrite(const QString& action, int reason)
{
    if (writeError.isEmpty())
        writeError = QStringLiteral("%1: temporary file cannot be %2: %3; the distinct values are "
                                    "counted in memory instead")
                         .arg(directory, action, qt_error_string(reason));
}

} // namespace monitor
