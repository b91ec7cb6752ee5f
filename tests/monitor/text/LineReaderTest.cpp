#include <text/LineReader.h>
#include <text/Problems.h>

#include <gtest/gtest.h>

#include <QtCore/QTemporaryFile>

#include <algorithm>
#include <random>
#include <utility>

using monitor::LineReader;
using monitor::Problems;

namespace
{

/// A device that delivers its bytes in pieces of random sizes, as a pipe does.
class Pieces : public QIODevice
{
public:
    Pieces(QByteArray bytes, uint largestPiece) : content(std::move(bytes)), largest(largestPiece)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const auto wanted = static_cast<qint64>(1 + random() % largest);
        const auto piece =
            std::min({maxSize, wanted, static_cast<qint64>(content.size()) - position});
        std::copy_n(content.constData() + position, piece, data);
        position += piece;
        return piece > 0 ? piece : -1;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray content;
    uint largest;
    std::mt19937 random{1};
    qint64 position = 0;
};

QList<QByteArray> linesOf(const QByteArray& content)
{
    QTemporaryFile file;
    EXPECT_TRUE(file.open());
    file.write(content);
    file.close();
    LineReader reader(file.fileName());
    QList<QByteArray> lines;
    for (QByteArray line; reader.readLine(line);) {
        lines += line;
        EXPECT_EQ(reader.lineNumber(), lines.size());
    }
    EXPECT_EQ(reader.error(), QString());
    return lines;
}

} // namespace

TEST(LineReader, StripsUnixAndWindowsLineEndings)
{
    EXPECT_EQ(linesOf("one\ntwo\r\n\nfour"), (QList<QByteArray>{"one", "two", "", "four"}));
    EXPECT_EQ(linesOf(""), QList<QByteArray>());
}

TEST(LineReader, KeepsZeroBytes)
{
    EXPECT_EQ(linesOf(QByteArray("a\0b\nc", 5)), (QList<QByteArray>{QByteArray("a\0b", 3), "c"}));
}

TEST(LineReader, TruncatesAnOverlongLineAndContinuesWithTheNext)
{
    constexpr int next = 300000; // lines, more than fit into the buffer
    const auto lines = linesOf(QByteArray(3 * LineReader::longestLine, 'x') + '\n' +
                               QByteArray("next\n").repeated(next));
    ASSERT_EQ(lines.size(), 1 + next);
    EXPECT_EQ(lines.at(0), QByteArray(LineReader::longestLine, 'x'));
    EXPECT_EQ(lines.count("next"), next);
}

TEST(LineReader, LineOfTheGreatestLengthIsWhole)
{
    const QByteArray longest(LineReader::longestLine, 'x');
    for (const char* end : {"\nnext", "x\nnext", "\r\nnext", "xxx\r\r\nnext"})
        EXPECT_EQ(linesOf(longest + end), (QList<QByteArray>{longest, "next"})) << end;
    EXPECT_EQ(linesOf(longest), QList<QByteArray>{longest});
    EXPECT_EQ(linesOf(longest + longest), QList<QByteArray>{longest});
}

TEST(LineReader, LinesMayEndAnywhereInABlock)
{
    std::mt19937 random(2);
    QByteArray content;
    QList<QByteArray> expected;
    for (int i = 0; i < 20000; ++i) {
        const int longest = i % 5000 == 0 ? LineReader::longestLine : 128;
        const QByteArray line(static_cast<int>(random()) & (longest - 1), 'x');
        expected += line;
        content += line + (i % 2 == 0 ? "\n" : "\r\n");
    }
    for (const uint largestPiece : {7U, 1000U, 1000000U}) {
        LineReader reader(std::make_unique<Pieces>(content, largestPiece), QString());
        qint64 position = 0;
        for (int i = 0; i < expected.size(); ++i) {
            std::string_view line;
            ASSERT_TRUE(reader.readLine(line));
            ASSERT_EQ(line, monitor::viewOf(expected.at(i))) << i;
            position += static_cast<qint64>(line.size()) + 1 + i % 2;
            ASSERT_EQ(reader.position(), position);
        }
        QByteArray line;
        EXPECT_FALSE(reader.readLine(line));
        EXPECT_FALSE(reader.readLine(line));
    }
}

TEST(LineReader, LinesReadInAdvanceArePaddedWithZeros)
{
    QByteArray content;
    while (content.size() < 1000000)
        content += "0123456789\n";
    LineReader reader(std::make_unique<Pieces>(content, 1000), QString());
    int lines = 0;
    for (std::string_view line; reader.readLine(line); ++lines) {
        const std::string_view ahead = reader.ahead();
        const QByteArray padding(ahead.data() + ahead.size(), LineReader::padding);
        ASSERT_EQ(padding, QByteArray(LineReader::padding, '\0'));
        ASSERT_EQ(reader.hasLine(), ahead.find('\n') != std::string_view::npos);
        if (ahead.size() >= 22 && lines % 3 == 0) {
            reader.skipLines(ahead.data() + 22, 2);
            lines += 2;
        }
        ASSERT_EQ(reader.lineNumber(), lines + 1);
    }
    EXPECT_EQ(lines, content.size() / 11);
}

TEST(LineReader, ErrorNamesAnUnreadableFile)
{
    QByteArray line;
    for (const char* name : {"/nonexistent/file.log", "/"}) {
        LineReader reader(name);
        EXPECT_FALSE(reader.readLine(line));
        EXPECT_TRUE(reader.error().startsWith(QString(name) + ": cannot be read")) << name;
    }
}

TEST(Problems, KeepsTheFirstFewAndCountsAll)
{
    Problems problems("bus.log", "are odd");
    for (int line = 1; line <= 1000; ++line)
        problems.add(line, "odd");
    EXPECT_EQ(problems.count(), 1000);
    EXPECT_EQ(problems.lines().size(), Problems::maxKept);
    EXPECT_EQ(problems.lines().mid(0, 2), (QStringList{"bus.log:1: odd", "bus.log:2: odd"}));
    EXPECT_EQ(problems.total(), QString("bus.log: 1000 are odd, of which 10 are shown"));
}

TEST(Problems, IsEmptyWithoutProblems)
{
    const Problems problems("bus.log", "are odd");
    EXPECT_EQ(problems.lines(), QStringList());
    EXPECT_EQ(problems.total(), QString());
}
