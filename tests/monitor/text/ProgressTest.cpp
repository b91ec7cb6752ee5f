#include <text/Progress.h>

#include <gtest/gtest.h>

using monitor::Progress;

namespace
{

/// The text written during work in ten steps.
QString written(bool onTerminal, std::chrono::milliseconds delay)
{
    QString text;
    QTextStream stream(&text);
    {
        Progress progress(stream, "reading", onTerminal, delay);
        for (int done = 1; done <= 10; ++done)
            progress.update(done, 10);
    }
    return text;
}

} // namespace

TEST(Progress, IsShownForLongWorkAndRemovedAtTheEnd)
{
    const QString text = written(true, std::chrono::milliseconds(0));
    EXPECT_TRUE(text.startsWith("\r\033[Kreading 10 %\r")) << text.toStdString();
    EXPECT_TRUE(text.endsWith("\r\r\033[K")) << text.toStdString();
}

TEST(Progress, IsNotShownForShortWork)
{
    EXPECT_EQ(written(true, std::chrono::hours(1)), QString());
}

TEST(Progress, IsShownOnATerminalOnly)
{
    EXPECT_EQ(written(false, std::chrono::milliseconds(0)), QString());
}

TEST(Progress, IsNotShownIfTheTotalIsUnknown)
{
    QString text;
    QTextStream stream(&text);
    Progress(stream, "reading", true, std::chrono::milliseconds(0)).update(5, 0);
    EXPECT_EQ(text, QString());
}
