#include <text/LineReader.h>
#include <text/Problems.h>

#include <gtest/gtest.h>

#include <QtCore/QTemporaryFile>

using monitor::LineReader;
using monitor::Problems;

namespace
{

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
    const auto lines = linesOf(QByteArray(3 * LineReader::longestLine, 'x') + "\nnext\n");
    ASSERT_EQ(lines.size(), 2);
    EXPECT_LE(lines.at(0).size(), LineReader::longestLine);
    EXPECT_EQ(lines.at(1), "next");
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
