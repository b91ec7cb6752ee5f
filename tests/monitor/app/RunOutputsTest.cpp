#include "../catalogue/Descriptions.h"

#include <app/EndRequest.h>
#include <app/Preparation.h>
#include <app/RunOutputs.h>
#include <app/commands.h>
#include <engine/saving/SavedRunReader.h>
#include <engine/summary/SummaryWriter.h>
#include <sources/recording/formats.h>

#include <gtest/gtest.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTemporaryFile>
#include <QtWidgets/QApplication>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

using monitor::MonitorOptions;
using monitor::OutputKind;
using monitor::RunOutputs;

namespace
{

const OutputKind& findKind(const char* name)
{
    for (const OutputKind& kind : monitor::outputKinds()) {
        if (qstrcmp(kind.name, name) == 0)
            return kind;
    }
    throw std::invalid_argument(name);
}

/// A run without frames or signals.
struct EmptyRun {
    MonitorOptions options;
    QString printed;
    QString messages;

    bool writeOutputs()
    {
        QTextStream output(&printed);
        QTextStream diagnostics(&messages);
        monitor::Session session({}, 3);
        return RunOutputs(options, output).write({&session}, diagnostics);
    }
};

/// A summary in a temporary file, and the result of showing it.
class ShownSummary : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(file.open());
        options.inputs = QStringList{file.fileName()};
    }

    monitor::ExitCode show()
    {
        QTextStream output(&printed);
        QTextStream diagnostics(&messages);
        return monitor::show(options, output, diagnostics);
    }

    QTemporaryFile file;
    monitor::ShowOptions options;
    QString printed;
    QString messages;
};

/// While it exists, standard error is a terminal.
class StandardErrorTerminal
{
public:
    StandardErrorTerminal() : other(posix_openpt(O_RDWR | O_NOCTTY)), before(dup(STDERR_FILENO))
    {
        grantpt(other);
        unlockpt(other);
        const int terminal = open(ptsname(other), O_RDWR | O_NOCTTY);
        dup2(terminal, STDERR_FILENO);
        close(terminal);
    }
    ~StandardErrorTerminal()
    {
        dup2(before, STDERR_FILENO);
        close(before);
        close(other);
    }
    StandardErrorTerminal(const StandardErrorTerminal&) = delete;
    StandardErrorTerminal& operator=(const StandardErrorTerminal&) = delete;

private:
    int other;
    int before;
};

QString printedProgress;

/// An output that is half done until its progress is shown.
class HalfDone : public monitor::Output
{
public:
    [[nodiscard]] monitor::OutputResult write(const monitor::FinishedRun& /*run*/,
                                              const monitor::OutputProgress& progress) override
    {
        const QDeadlineTimer end(60000);
        while (printedProgress.isEmpty() && !end.hasExpired())
            progress(1, 2);
        return {};
    }
};

std::unique_ptr<monitor::Output> makeHalfDone(const monitor::OutputTarget& /*target*/)
{
    return std::make_unique<HalfDone>();
}

/// The application that charts need.
class OffscreenApplication
{
    char name[5] = "test";
    char platform[10] = "-platform";
    char offscreen[10] = "offscreen";
    char* argv[4] = {name, platform, offscreen, nullptr};
    int argc = 3;
    QApplication application{argc, argv};
};

} // namespace

TEST(RunOutputs, FailingOutputDoesNotPreventTheOthers)
{
    const QTemporaryDir directory;
    const QString save = directory.filePath("missing/run");
    const QString plots = directory.filePath("plots");
    EmptyRun run;
    run.options.files = {{&findKind("save"), save}, {&findKind("plot"), plots}};
    EXPECT_FALSE(run.writeOutputs());
    const QString& messages = run.messages;
    EXPECT_TRUE(messages.contains(save + ": cannot be written: ")) << messages.toStdString();
    EXPECT_TRUE(messages.contains(plots + ": no values to plot\n"));
    EXPECT_TRUE(run.printed.contains("frames      0\n"));
}

TEST(RunOutputs, EveryOutputThatWantsTheValuesReceivesThem)
{
    const QTemporaryDir directory;
    const QString save = directory.filePath("run");
    const QString table = directory.filePath("values.csv");
    MonitorOptions options;
    options.files = {{&findKind("save"), save}, {&findKind("export"), table}};
    QString text;
    QTextStream output(&text);
    RunOutputs outputs(options, output);
    ASSERT_EQ(outputs.check(), QString());
    monitor::Session session({describedMessage(0x18FE0000, {describedSignal(0, 8)})}, 3);
    outputs.connectTo(session);
    monitor::Frame frame;
    frame.id = 0x18FE0000;
    frame.extended = true;
    frame.length = 8;
    for (int i = 0; i < 3; ++i)
        session.take(frame);
    EXPECT_TRUE(outputs.write({&session}, output));
    QFile exported(table);
    ASSERT_TRUE(exported.open(QIODevice::ReadOnly));
    EXPECT_EQ(exported.readAll().count('\n'), 4);
    QFile saved(save);
    monitor::SavedRunReader reader(saved);
    monitor::Session read({}, 3);
    ASSERT_EQ(reader.open(), QString());
    ASSERT_EQ(reader.restore(read), QString());
    EXPECT_EQ(read.registry().at(0).values().count(), 3);
}

TEST(RunOutputs, AreCheckedBeforeTheRun)
{
    const QTemporaryDir directory;
    MonitorOptions options;
    QString printed;
    QTextStream output(&printed);
    EXPECT_EQ(RunOutputs(options, output).check(), QString());
    const QString save = directory.filePath("missing/run");
    options.files = {{&findKind("save"), save}};
    EXPECT_TRUE(RunOutputs(options, output).check().startsWith(save + ": cannot be"));
}

TEST(RunOutputs, EveryPrintedKindPrintsSomething)
{
    for (const OutputKind& kind : monitor::outputKinds()) {
        if (!kind.isPrinted())
            continue;
        EmptyRun run;
        run.options.printed = &kind;
        EXPECT_TRUE(run.writeOutputs());
        EXPECT_FALSE(run.printed.isEmpty()) << kind.name;
        EXPECT_EQ(run.messages, QString());
    }
}

TEST(RunOutputs, UnwritablePlotDirectoryIsAnError)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    monitor::Session session({}, 3);
    const monitor::Snapshot snapshot = session.calcSnapshot();
    const auto plots = findKind("plot").make({nullptr, file.fileName()});
    EXPECT_EQ(plots->write({session, snapshot}, {}).error,
              file.fileName() + ": the directory cannot be created");
}

TEST(RunOutputs, ProgressIsShownOnATerminal)
{
    const StandardErrorTerminal terminal;
    const OutputKind kind{"half-done", "", "", false, monitor::OutputNeeds::Counts, makeHalfDone};
    MonitorOptions options;
    options.printed = &kind;
    QString printed;
    QTextStream output(&printed);
    QTextStream diagnostics(&printedProgress);
    monitor::Session session({}, 3);
    EXPECT_TRUE(RunOutputs(options, output).write({&session}, diagnostics));
    EXPECT_TRUE(printedProgress.contains("writing 50 %")) << printedProgress.toStdString();
}

TEST(RunOutputs, PlotsReportProgressForEachPlot)
{
    const OffscreenApplication application;
    const QString sample = QStringLiteral(SAMPLE_DIRECTORY);
    MonitorOptions options;
    options.descriptions = {
        {monitor::findDescriptionReader("dbc"), {sample + "/engine.dbc", std::nullopt}}};
    options.patterns = QStringList{"Engine*"};
    QString text;
    QTextStream diagnostics(&text);
    monitor::Preparation prepared;
    ASSERT_EQ(prepare(options, diagnostics, prepared), QString());
    monitor::Session session(prepared.catalogue.messages(), prepared.k);
    session.keepOutlines(monitor::SeriesOutline::Detail::Whole);
    const auto recording = monitor::openRecording(sample + "/engine.log");
    ASSERT_TRUE(recording.source) << recording.error.toStdString();
    session.takeAll(*recording.source);
    const monitor::Snapshot snapshot = session.calcSnapshot();

    const QTemporaryDir directory;
    QVector<std::pair<qint64, qint64>> reported;
    const auto plots = findKind("plot").make({nullptr, directory.path()});
    EXPECT_EQ(plots
                  ->write({session, snapshot},
                          [&](qint64 done, qint64 total) {
                              reported.append({done, total});
                          })
                  .error,
              QString());
    QVector<std::pair<qint64, qint64>> expected;
    for (int i = 0; i < snapshot.rows.size(); ++i)
        expected.append({i, snapshot.rows.size()});
    EXPECT_GT(expected.size(), 1);
    EXPECT_EQ(reported, expected);
}

TEST_F(ShownSummary, FrameCountsOfItsRunsMustNotOverflow)
{
    monitor::FrameCounts counts;
    counts.total = counts.decoded = qint64{1} << 62;
    monitor::Session first({}, 3);
    monitor::Session second({}, 3);
    first.addCounts(counts);
    second.addCounts(counts);
    ASSERT_EQ(monitor::writeSummary(file.fileName(), {&first, &second}), QString());
    EXPECT_EQ(show(), monitor::ExitCode::Failure);
    EXPECT_EQ(messages,
              file.fileName() + ": cannot be merged: a count of frames would exceed 2^63 - 1\n");
    EXPECT_EQ(printed, QString());
}

TEST_F(ShownSummary, MergeNamesIncompleteFiles)
{
    monitor::Session session({}, 3);
    monitor::FrameCounts counts;
    counts.total = counts.decoded = 1;
    session.addCounts(counts);
    session.setIncomplete();
    ASSERT_EQ(monitor::writeSummary(file.fileName(), {&session}), QString());
    options.action = monitor::ShowOptions::Action::Merge;
    EXPECT_EQ(show(), monitor::ExitCode::Success);
    EXPECT_EQ(messages, file.fileName() + ": is incomplete: a recording was not read to its end\n");
}

TEST(EndRequest, SignalsAreReportedOnce)
{
    char name[] = "test";
    char* argv[] = {name, nullptr};
    int argc = 1;
    const QCoreApplication application(argc, argv);
    int calls = 0;
    const monitor::EndRequest endRequest([&] { ++calls; });
    std::raise(SIGTERM);
    std::raise(SIGINT);
    for (int i = 0; i < 10; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(calls, 1);
}
