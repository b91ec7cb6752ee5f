#include <text/LineReader.h>
#include <text/LineWarnings.h>

#include <gtest/gtest.h>

#include <QtCore/QTemporaryFile>

using monitor::LineReader;
using monitor::LineWarnings;

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

TEST(LineReader, GivesLinesWithoutTheirEndsOnUnixAndWindows)
{
    EXPECT_EQ(linesOf("one\ntwo\r\n\nfour"), (QList<QByteArray>{"one", "two", "", "four"}));
    EXPECT_EQ(linesOf(""), QList<QByteArray>());
}

TEST(LineReader, KeepsZeroBytes)
{
    EXPECT_EQ(linesOf(QByteArray("a\0b\nc", 5)), (QList<QByteArray>{QByteArray("a\0b", 3), "c"}));
}

TEST(LineReader, CutsAnEndlessLineAndGoesOnWithTheNext)
{
    const auto lines = linesOf(QByteArray(3 * LineReader::longestLine, 'x') + "\nnext\n");
    ASSERT_EQ(lines.size(), 2);
    EXPECT_LE(lines.at(0).size(), LineReader::longestLine);
    EXPECT_EQ(lines.at(1), "next");
}

TEST(LineReader, NamesTheFileThatCannotBeRead)
{
    QByteArray line;
    for (const char* name : {"/nonexistent/file.log", "/"}) {
        LineReader reader(name);
        EXPECT_FALSE(reader.readLine(line));
        EXPECT_TRUE(reader.error().startsWith(QString(name) + ": cannot be read")) << name;
    }
}

TEST(LineWarnings, PrintsTheFirstFewAndCountsAll)
{
    QString text;
    QTextStream stream(&text);
    LineWarnings warnings(stream, "bus.log");
    for (int line = 1; line <= 1000; ++line)
        warnings.add(line, "odd");
    warnings.printTotal("are odd");
    EXPECT_EQ(warnings.count(), 1000);
    EXPECT_EQ(text.count('\n'), LineWarnings::printedAtMost + 1);
    EXPECT_TRUE(text.startsWith("bus.log:1: odd\nbus.log:2: odd\n"));
    EXPECT_TRUE(text.endsWith("bus.log: 1000 are odd\n"));
}

TEST(LineWarnings, SaysNothingWhereThereWasNothing)
{
    QString text;
    QTextStream stream(&text);
    LineWarnings(stream, "bus.log").printTotal("are odd");
    EXPECT_EQ(text, QString());
}
