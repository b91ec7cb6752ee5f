#include "../../app/FileSizeLimit.h"

#include <engine/counts/WideCounts.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

using monitor::SpillFile;
using monitor::WideCounts;

namespace
{

/// A path to the deleted file that this process has open in \a directory.
QString pathOfFileIn(const QString& directory)
{
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QString& name : descriptors.entryList(QDir::Files | QDir::System)) {
        const QString path = descriptors.filePath(name);
        if (QFileInfo(path).symLinkTarget().startsWith(directory))
            return path;
    }
    return {};
}

qint64 sizeOf(const QString& path)
{
    struct stat status {
    };
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_size : -1;
}

bool writesPage(SpillFile& file)
{
    return file.write("page", 4).has_value();
}

} // namespace

TEST(SpillFile, ReturnsThePagesThatWereWritten)
{
    SpillFile file;
    const auto first = file.write("first", 5);
    const QByteArray full(static_cast<int>(SpillFile::pageSize), 'x');
    const auto second = file.write(full.constData(), SpillFile::pageSize);
    ASSERT_TRUE(first && second);
    char text[6] = "";
    EXPECT_TRUE(file.read(*first, text, 5));
    EXPECT_STREQ(text, "first");
    QByteArray read(full.size(), ' ');
    EXPECT_TRUE(file.read(*second, read.data(), SpillFile::pageSize));
    EXPECT_EQ(read, full);
    EXPECT_EQ(file.size(), static_cast<qint64>(2 * SpillFile::pageSize));
    EXPECT_EQ(file.error(), QString());
}

TEST(SpillFile, HasNoNameAndIsCreatedWhenNeeded)
{
    const QTemporaryDir parent;
    const QString directory = parent.filePath(QStringLiteral("created later"));
    SpillFile file(directory);
    EXPECT_EQ(file.size(), 0);
    ASSERT_TRUE(QDir().mkdir(directory));
    EXPECT_TRUE(writesPage(file));
    EXPECT_EQ(file.error(), QString());
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    EXPECT_TRUE(QDir(directory).entryList(all).isEmpty());
}

TEST(SpillFile, ReusesReleasedPages)
{
    SpillFile file;
    const auto first = file.write("first", 5);
    ASSERT_TRUE(first && writesPage(file));
    file.release(*first);
    EXPECT_EQ(file.write("third", 5), first);
    EXPECT_EQ(file.size(), static_cast<qint64>(2 * SpillFile::pageSize));
}

TEST(SpillFile, BecomesEmptyWhenNoPageIsNeeded)
{
    const QTemporaryDir directory;
    SpillFile file(directory.path());
    const auto first = file.write("first", 5);
    const auto second = file.write("second", 6);
    ASSERT_TRUE(first && second);
    const QString path = pathOfFileIn(directory.path());
    file.release(*first);
    EXPECT_EQ(sizeOf(path), static_cast<qint64>(SpillFile::pageSize + 6));
    file.release(*second);
    EXPECT_EQ(sizeOf(path), 0);
    EXPECT_EQ(file.size(), 0);
}

TEST(SpillFile, GivesEveryThreadItsOwnPages)
{
    SpillFile file;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (char thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            const char text[] = {thread, 'x', 'y', 'z'};
            std::vector<quint32> pages;
            for (int i = 0; i < 5000; ++i) {
                if (const auto page = file.write(text, sizeof text))
                    pages.push_back(*page);
                char read[sizeof text] = "";
                const bool isSame = !pages.empty() && file.read(pages.back(), read, sizeof read) &&
                                    std::memcmp(read, text, sizeof text) == 0;
                wrong += isSame ? 0 : 1;
                if (i % 3 != 0 && !pages.empty()) {
                    file.release(pages.back());
                    pages.pop_back();
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(file.error(), QString());
}

TEST(SpillFile, IsInTheDirectoryNamedByTmpdir)
{
    const QTemporaryDir directory;
    const bool wasSet = qEnvironmentVariableIsSet("TMPDIR");
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(directory.path()));
    EXPECT_EQ(SpillFile::defaultDirectory(), QFileInfo(directory.path()).canonicalFilePath());
    qunsetenv("TMPDIR");
    EXPECT_EQ(SpillFile::defaultDirectory(), QStringLiteral("/var/tmp"));
    if (wasSet)
        qputenv("TMPDIR", before);
}

TEST(SpillFile, SaysWhyItCannotBeCreated)
{
    SpillFile file(QStringLiteral("/missing/directory"));
    EXPECT_FALSE(writesPage(file));
    EXPECT_EQ(
        file.error(),
        QStringLiteral("/missing/directory: temporary file cannot be created: No such file or "
                       "directory; the distinct values are counted in memory instead"));
}

TEST(SpillFile, SaysOnceThatTheDiskIsFullAndIsNotWrittenAgain)
{
    const QTemporaryDir directory;
    SpillFile file(directory.path());
    const FileSizeLimit limit(SpillFile::pageSize);
    static volatile std::sig_atomic_t isSignalled = 0;
    isSignalled = 0;
    std::signal(SIGXFSZ, [](int) { isSignalled = 1; });
    const auto page = file.write("page", 4);
    ASSERT_TRUE(page);
    EXPECT_FALSE(writesPage(file));
    const QString error =
        directory.path() + QStringLiteral(": temporary file cannot be written: File too large; the "
                                          "distinct values are counted in memory instead");
    EXPECT_EQ(file.error(), error);
    file.release(*page);
    EXPECT_FALSE(writesPage(file));
    EXPECT_EQ(file.error(), error);
    EXPECT_EQ(isSignalled, 0);
}

TEST(SpillFile, SaysThatStatisticsAreWrongIfItCannotBeRead)
{
    const std::function<void(const WideCounts&)> readers[] = {
        [](const WideCounts& counts) { counts.keyAt(5000); },
        [](const WideCounts& counts) { counts.countWhile([](quint64 key) { return key < 999; }); },
        [](const WideCounts& counts) { counts.distinct(); },
    };
    for (const auto& read : readers) {
        const QTemporaryDir directory;
        SpillFile file(directory.path());
        WideCounts counts(&file, 64);
        for (quint64 key = 0; key < 10000; ++key)
            counts.add(key * key);
        EXPECT_TRUE(counts.isComplete());
        const QByteArray path = QFile::encodeName(pathOfFileIn(directory.path()));
        ASSERT_EQ(truncate(path.constData(), 0), 0);
        read(counts);
        EXPECT_FALSE(counts.isComplete());
        EXPECT_EQ(
            file.error(),
            directory.path() +
                QStringLiteral(": temporary file cannot be read: Input/output error; medians "
                               "and numbers of deviators are wrong; repeat the run with TMPDIR on "
                               "another disk"));
        counts.clear();
        EXPECT_TRUE(counts.isComplete());
    }
}
