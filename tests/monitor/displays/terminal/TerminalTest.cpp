#include "../../app/FileSizeLimit.h"
#include "../../sources/bus/SimulatedBus.h"
#include "PseudoTerminal.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryFile>

#include <algorithm>
#include <csignal>

namespace
{

QStringList live(const SimulatedBus& bus, const QStringList& options = {})
{
    return QStringList("live") + bus.options() + sampleOptions() + options;
}

/// The row of a signal in a table, without its mark.
QString rowOf(const QString& table, const QString& name)
{
    const auto begin = table.indexOf(name);
    return table.mid(begin, table.indexOf(QRegularExpression("[\r\n\x1b]"), begin) - begin)
        .simplified();
}

/// The text printed after the terminal was restored.
QString printedAtTheEnd(const PseudoTerminal& terminal)
{
    const QByteArray leaving = "\x1b[?1049l";
    const auto end = terminal.output().lastIndexOf(leaving);
    return QString::fromUtf8(terminal.output().mid(end + leaving.size())).remove('\r');
}

bool operator==(const termios& left, const termios& right)
{
    return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
           left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag &&
           std::equal(std::begin(left.c_cc), std::end(left.c_cc), std::begin(right.c_cc));
}

} // namespace

TEST(Terminal, TableShowsTheStatisticsAndIsPrintedAtTheEnd)
{
    const SimulatedBus bus;
    PseudoTerminal terminal(live(bus), 40, 200);
    ASSERT_TRUE(terminal.waitForScreen("frames 0 ")) << terminal.output().toStdString();
    bus.send(sampleFile("drive.log"));
    ASSERT_TRUE(terminal.waitForScreen("frames 1371  undecoded 21  dropped 0  errors 0  load "));
    EXPECT_TRUE(terminal.screen().startsWith("\x1b[H" + bus.name()));
    const QString expected = replayedSample();
    for (const char* name : {"EngineSpeed ", "Velocity actual value ", "ShaftTorque "})
        EXPECT_EQ(rowOf(terminal.screen(), name), rowOf(expected, name));
    EXPECT_TRUE(terminal.type("q"));
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_EQ(printedAtTheEnd(terminal), expected);
}

TEST(Terminal, FailureToWriteIsShownAndPrintedAtTheEnd)
{
    const QTemporaryDir directory;
    const SimulatedBus bus;
    auto limit = std::make_unique<FileSizeLimit>(8192); // the program inherits it
    PseudoTerminal terminal(live(bus, {"--save", directory.filePath("run")}), 24, 200);
    limit.reset();
    ASSERT_TRUE(terminal.waitForScreen("frames 0 ")) << terminal.output().toStdString();
    bus.send(writeLongRecording(directory));
    const QString message = directory.filePath("run") + ": cannot be written: ";
    EXPECT_TRUE(terminal.waitForScreen(message)) << terminal.output().toStdString();
    EXPECT_TRUE(terminal.type("q"));
    EXPECT_EQ(terminal.waitForEnd(), 2);
    EXPECT_EQ(printedAtTheEnd(terminal).count(message), 1);
}

TEST(Terminal, SilentSignalsAreMarked)
{
    const SimulatedBus bus;
    PseudoTerminal terminal(live(bus), 40, 200);
    ASSERT_TRUE(terminal.waitForScreen("frames 0 "));
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(terminal.waitForScreen("\x1b[33m~  EngineSpeed "));
}

TEST(Terminal, KeysFilterScrollPauseAndReset)
{
    const SimulatedBus bus;
    PseudoTerminal terminal(live(bus), 9, 60);
    ASSERT_TRUE(terminal.waitForScreen("frames 0 "));
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(terminal.waitForScreen("signals 1-5 of 17"));
    EXPECT_TRUE(terminal.type("\x1b[B"));
    EXPECT_TRUE(terminal.waitForScreen("signals 2-6 of 17"));
    EXPECT_TRUE(terminal.type("/ENG\r"));
    EXPECT_TRUE(terminal.waitForScreen("signals 1-5 of 6"));
    EXPECT_FALSE(terminal.screen().contains("BatteryPotential"));
    EXPECT_TRUE(terminal.type("\x1b"));
    EXPECT_TRUE(terminal.waitForScreen("signals 1-5 of 17"));
    EXPECT_TRUE(terminal.type("p"));
    EXPECT_TRUE(terminal.waitForScreen("paused"));
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(terminal.type("\x1b[F"));
    EXPECT_TRUE(terminal.waitForScreen("signals 13-17 of 17"));
    EXPECT_TRUE(terminal.screen().contains("frames 1371 "));
    EXPECT_TRUE(terminal.type("p"));
    EXPECT_TRUE(terminal.waitForScreen("frames 2742 "));
    EXPECT_TRUE(terminal.type("r"));
    EXPECT_TRUE(terminal.waitForScreen("frames 0 "));
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(terminal.waitForScreen("frames 1371 "));
    EXPECT_TRUE(terminal.type("q"));
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_EQ(printedAtTheEnd(terminal), replayedSample());
}

TEST(Terminal, IsRestoredHoweverTheProgramEnds)
{
    for (const char* way : {"key", "interrupt", "terminate"}) {
        const SimulatedBus bus;
        PseudoTerminal terminal(live(bus), 24, 80);
        const termios before = terminal.modes();
        ASSERT_TRUE(terminal.waitForScreen("frames 0 "));
        EXPECT_FALSE(terminal.modes() == before);
        if (qstrcmp(way, "terminate") == 0)
            terminal.signal(SIGTERM);
        else
            EXPECT_TRUE(terminal.type(qstrcmp(way, "key") == 0 ? "q" : "\x03"));
        EXPECT_EQ(terminal.waitForEnd(), 1) << way;
        EXPECT_TRUE(terminal.modes() == before) << way;
        EXPECT_TRUE(terminal.output().contains("\x1b[?7h\x1b[?25h\x1b[?1049l")) << way;
        EXPECT_TRUE(printedAtTheEnd(terminal).contains("frames      0\n")) << way;
    }
}

// Ctrl-S stops the output until Ctrl-Q. Meanwhile more frames arrive than the queue can hold.
TEST(Terminal, StoppedOutputBlocksOnlyTheDisplayAndDroppedFramesAreCounted)
{
    const int frames = 100000;
    QTemporaryFile recording;
    ASSERT_TRUE(recording.open());
    recording.write(QByteArray("(1.0) can0 0CF00400#FFFFFF2003FFFFFF\n").repeated(frames));
    recording.flush();
    const SimulatedBus bus;
    PseudoTerminal terminal(live(bus), 24, 200);
    ASSERT_TRUE(terminal.waitForScreen("frames 0 "));
    EXPECT_TRUE(terminal.type("\x13"));
    bus.send(recording.fileName());
    EXPECT_TRUE(terminal.type("\x11"));
    const auto numberAfter = [&terminal](const QString& title) {
        return terminal.screen().section(title + ' ', 1).section(' ', 0, 0).toInt();
    };
    EXPECT_TRUE(terminal.waitUntil(
        [&] { return numberAfter("frames") + numberAfter("dropped") == frames; }));
    EXPECT_GT(numberAfter("dropped"), 0);
    EXPECT_GE(numberAfter("frames"), 65536);
    EXPECT_TRUE(terminal.type("q"));
    EXPECT_EQ(terminal.waitForEnd(), 0);
}

TEST(Terminal, IsNotTakenOverIfAnotherFormatIsChosen)
{
    const SimulatedBus bus;
    PseudoTerminal terminal(live(bus, {"--format", "csv", "--duration", "0.1"}), 24, 80);
    EXPECT_EQ(terminal.waitForEnd(), 1);
    EXPECT_FALSE(terminal.output().contains('\x1b'));
    EXPECT_TRUE(terminal.output().contains("name,kind,source"));
}
