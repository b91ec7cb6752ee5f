#include "../../app/LiveRun.h"
#include "../../sources/bus/SimulatedBus.h"
#include <VirtualDisplay.h>

#include <app/Preparation.h>
#include <app/commands.h>
#include <displays/window/BusDialog.h>
#include <displays/window/MonitorWindow.h>
#include <sources/bus/BusSource.h>

#include <QAction>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTableView>

using namespace QtCharts;
using monitor::BusDialog;
using monitor::BusSource;
using monitor::MonitorWindow;
using monitor::Session;

namespace
{

const QColor averageColor(0x2e, 0x7d, 0x32);
const QColor deviatorColor(0xd0, 0x10, 0x30);
const QColor silenceColor(0xff, 0xf2, 0xc4);

constexpr int sampleFrames = 1371;

int pixelsOf(const QImage& image, const QColor& color)
{
    int pixels = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            pixels += image.pixelColor(x, y) == color ? 1 : 0;
    }
    return pixels;
}

/// The window of a live run on a simulated bus.
class Window : public testing::Test
{
protected:
    void SetUp() override
    {
        options.bus = {"virtualcan", bus.options().at(3)};
        options.descriptions = {
            {monitor::findDescriptionReader("dbc"), {sampleFile("engine.dbc"), std::nullopt}},
            {monitor::findDescriptionReader("eds"), {sampleFile("drive.eds"), quint8(5)}}};
        QString text;
        QTextStream diagnostics(&text);
        monitor::Preparation prepared;
        ASSERT_EQ(prepare(options, diagnostics, prepared), QString());
        source.emplace(options.bus, options.bitRate);
        ASSERT_EQ(source->start(), QString());
        session.emplace(prepared.catalogue.messages(), prepared.k);
        window.emplace(*session, options.bus.name(), options.leastRating);
    }

    /// Receives and shows frames until \a condition holds. Returns false if it does not within a
    /// minute.
    template <typename Condition>
    bool waitUntil(Condition condition)
    {
        QEventLoop loop;
        QTimer refreshing;
        QObject::connect(&refreshing, &QTimer::timeout, [&] {
            session->takeAll(*source);
            const qint64 now = source->takenAt();
            EXPECT_TRUE(window->take(session->getSnapshot(now),
                                     {options.bus.name(), now, 0, options.bitRate}));
            if (condition())
                loop.exit(1);
        });
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        refreshing.start(10);
        return loop.exec() == 1;
    }

    bool waitForFrames(int frames)
    {
        return waitUntil([=] { return session->counts().total == frames; });
    }

    void showSample()
    {
        bus.send(sampleFile("drive.log"));
        ASSERT_TRUE(waitForFrames(sampleFrames));
    }

    QAbstractItemView& table() const { return *window->findChild<QAbstractItemView*>(); }
    QChartView& plot() const { return *window->findChild<QChartView*>(); }

    QString cell(int row, int column) const
    {
        return table().model()->index(row, column).data().toString();
    }

    /// Clicks on the signal with that name.
    void select(const QString& name) const
    {
        const QModelIndexList found =
            table().model()->match(table().model()->index(0, 1), Qt::DisplayRole, name, 1);
        ASSERT_EQ(found.size(), 1) << name.toStdString();
        table().scrollTo(found.first());
        const QPointF place = table().visualRect(found.first()).center();
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            mouse(*table().viewport(), type, place);
    }

    static void mouse(QWidget& widget, QEvent::Type type, const QPointF& place)
    {
        const bool released = type == QEvent::MouseButtonRelease;
        QMouseEvent event(type, place, widget.mapToGlobal(place.toPoint()), Qt::LeftButton,
                          released ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&widget, &event);
    }

    /// Turns the wheel by \a steps at a place in the plot.
    void turnWheel(const QPointF& place, int steps) const
    {
        QWidget& widget = *plot().viewport();
        QWheelEvent event(place, widget.mapToGlobal(place.toPoint()), QPoint(),
                          QPoint(0, 120 * steps), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&widget, &event);
    }

    void drag(const QPointF& from, const QPointF& to) const
    {
        mouse(*plot().viewport(), QEvent::MouseButtonPress, from);
        mouse(*plot().viewport(), QEvent::MouseMove, to);
        mouse(*plot().viewport(), QEvent::MouseButtonRelease, to);
    }

    /// The message in the status bar; empty if it has no space.
    QString shownMessage()
    {
        window->show();
        QCoreApplication::processEvents();
        const auto* const label = window->findChild<QLabel*>("message");
        return label->isVisible() && label->width() > 200 ? label->text() : QString();
    }

    QPointF middleOfPlot() const { return plot().chart()->plotArea().center(); }

    QValueAxis& times() const
    {
        return *qobject_cast<QValueAxis*>(plot().chart()->axes(Qt::Horizontal).first());
    }

    double extent() const { return times().max() - times().min(); }

    /// The points of all series with that name.
    QVector<QPointF> pointsOf(const QString& name) const
    {
        QVector<QPointF> points;
        for (QAbstractSeries* const series : plot().chart()->series()) {
            auto* const xy = qobject_cast<QXYSeries*>(series);
            if (xy != nullptr && xy->name() == name)
                points += xy->points().toVector();
        }
        return points;
    }

    void press(const QString& tool) const
    {
        for (QAction* const action : window->findChildren<QAction*>()) {
            if (action->text() == tool)
                return action->trigger();
        }
        FAIL() << tool.toStdString();
    }

    /// Presses a button that saves a file, and chooses that name.
    void save(const QString& tool, const QString& fileName) const
    {
        press(tool);
        auto* const dialog = window->findChild<QFileDialog*>();
        ASSERT_NE(dialog, nullptr);
        dialog->selectFile(fileName);
        static_cast<QDialog*>(dialog)->accept();
        QCoreApplication::sendPostedEvents(dialog, QEvent::DeferredDelete);
    }

    const VirtualDisplay display;
    char program[5] = "test";
    char* argv[2] = {program, nullptr};
    int argc = 1;
    const QApplication application{argc, argv};
    const QTemporaryDir directory;
    const SimulatedBus bus;
    const LiveRun host{bus}; // hosts the bus, which a process can do only once
    monitor::LiveOptions options;
    std::optional<BusSource> source;
    std::optional<Session> session;
    std::optional<MonitorWindow> window;
};

} // namespace

TEST_F(Window, TableShowsIndependentlyComputedStatistics)
{
    showSample();
    const QList<QStringList> expected = expectedRows("drive.expected");
    ASSERT_EQ(table().model()->rowCount(), expected.size());
    EXPECT_EQ(table().model()->rowCount(table().model()->index(0, 0)), 0)
        << "the table must not be a tree";
    for (int row = 0; row < expected.size(); ++row) {
        QStringList shown;
        for (int column = 1; column < 16; ++column)
            shown += cell(row, column);
        shown.replace(10, shown.at(10).section(" .. ", 0, 0));
        shown.insert(11, cell(row, 11).section(" .. ", 1, 1));
        shown.removeAt(13); // the unit
        ASSERT_EQ(shown.size(), expected.at(row).size());
        for (int i = 0; i < shown.size(); ++i)
            expectSame(shown.at(i), expected.at(row).at(i), expected.at(row).at(0));
    }
}

TEST_F(Window, TableTakesTwoFifthsOfTheHeight)
{
    window->show();
    const QList<int> heights = window->findChild<QSplitter*>()->sizes();
    ASSERT_EQ(heights.size(), 2);
    EXPECT_NEAR(heights.at(0) / double(heights.at(0) + heights.at(1)), 0.4, 0.02);
}

TEST_F(Window, ColumnsAreWideEnoughForTheirTexts)
{
    showSample();
    const auto* const view = window->findChild<QTableView*>();
    const QFontMetrics metrics(view->font());
    for (int column = 0; column < view->model()->columnCount(); ++column) {
        const QString title = view->model()->headerData(column, Qt::Horizontal).toString();
        EXPECT_GE(view->columnWidth(column), metrics.horizontalAdvance(title));
        for (int row = 0; row < view->model()->rowCount(); ++row)
            EXPECT_GE(view->columnWidth(column), metrics.horizontalAdvance(cell(row, column)));
    }
}

TEST_F(Window, ChartShowsTheSelectedSignal)
{
    showSample();
    EXPECT_EQ(plot().chart()->title(), QString("ActualEnginePercentTorque, source 0"));
    select("EngineSpeed");
    EXPECT_EQ(plot().chart()->title(), QString("EngineSpeed, source 0"));
    QVector<QPointF> values = pointsOf("values") + pointsOf(QString());
    ASSERT_FALSE(values.isEmpty());
    const auto isLower = [](const QPointF& a, const QPointF& b) { return a.y() < b.y(); };
    const auto [lowest, highest] = std::minmax_element(values.begin(), values.end(), isLower);
    EXPECT_EQ(lowest->y(), 1219.125);
    EXPECT_EQ(highest->y(), 1843.875);
    EXPECT_NEAR(pointsOf("average").value(0).y(), 1499.58, 1e-9);
    EXPECT_TRUE(pointsOf("deviators").contains(*highest));
}

class WindowThatKeepsFewValues : public Window
{
protected:
    void SetUp() override
    {
        options.keptRecords = 20;
        Window::SetUp();
    }
};

// The last 20 values of the sample are between 1495.25 and 1501.875.
TEST_F(WindowThatKeepsFewValues, ChartShowsOnlyTheKeptValues)
{
    showSample();
    select("EngineSpeed");
    const QVector<QPointF> values = pointsOf("values");
    ASSERT_FALSE(values.isEmpty());
    for (const QPointF& point : values) {
        EXPECT_GE(point.y(), 1495.25);
        EXPECT_LE(point.y(), 1501.875);
    }
}

// Qt would interpret markup in a tooltip.
TEST_F(Window, TooltipShowsTheDescriptionOfTheSignalAsPlainText)
{
    showSample();
    const auto toolTipOf = [this](const QString& name) {
        const QModelIndexList found =
            table().model()->match(table().model()->index(0, 1), Qt::DisplayRole, name, 1);
        return found.value(0).data(Qt::ToolTipRole).toString();
    };
    EXPECT_EQ(toolTipOf("EngineSpeed"), QString("<qt>message: EEC1 (0x0CF004FE)<br>"
                                                "Electronic Engine Controller 1<br>"
                                                "unit: rpm<br>"
                                                "described range: 0 .. 8031.875</qt>"));
    EXPECT_EQ(toolTipOf("BatteryPotential"),
              QString("<qt>message: VEP1 (0x18FEF7FE)<br>"
                      "Vehicle Electrical Power 1<br>from the engine and from the cab controller"
                      "<br>unit: V<br>described range: 0 .. 3212.75</qt>"));
}

TEST(SignalModel, TooltipEscapesMarkupAndShortensLongComments)
{
    monitor::CatalogueMessage message;
    message.name = "<a>";
    message.id = 0x12;
    monitor::CatalogueSignal description;
    description.name = description.reportedName = "Speed";
    description.layout.length = 8;
    description.comment = "<img src=x> & xxxx" + QString(2000, 'c'); // 18 characters and c
    description.rules.limits = monitor::ValueRange{1, 2.5};
    message.catalogueSignals = {description};
    monitor::Session session({message}, 3);
    monitor::Frame frame{};
    frame.id = 0x12;
    frame.length = 8;
    session.take(frame);
    monitor::LiveTable table(50);
    table.update(session.getSnapshot(0), {});
    monitor::SignalModel model(table, session.registry());
    model.refresh();
    const QString shown = model.index(0, 1).data(Qt::ToolTipRole).toString();
    EXPECT_TRUE(shown.startsWith("<qt>&lt;img src=x&gt; &amp; xxxxccc")) << shown.toStdString();
    EXPECT_TRUE(shown.endsWith(QString("c") + QChar(0x2026) +
                               "<br>message: &lt;a&gt; (0x012)<br>"
                               "limits: 1 .. 2.5</qt>"));
    EXPECT_TRUE(shown.contains(QString(982, 'c')) && !shown.contains(QString(983, 'c')));
}

TEST(SignalModel, ReportsOnlyRowsThatChange)
{
    QVector<monitor::CatalogueMessage> messages;
    for (int i = 0; i < 5; ++i) {
        monitor::CatalogueMessage message;
        message.id = static_cast<quint32>(i);
        monitor::CatalogueSignal description;
        description.name = description.reportedName = QString("S%1").arg(i);
        description.layout.length = 8;
        message.catalogueSignals = {description};
        messages.append(message);
    }
    Session session(messages, 3);
    monitor::LiveTable table(50);
    monitor::SignalModel model(table, session.registry());
    QVector<int> reported;
    QObject::connect(&model, &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex& from, const QModelIndex& to) {
                         EXPECT_EQ(from.column(), 0);
                         EXPECT_EQ(to.column(), model.columnCount() - 1);
                         for (int row = from.row(); row <= to.row(); ++row)
                             reported.append(row);
                     });
    const auto changedRows = [&](const QVector<int>& taken, qint64 now) {
        monitor::Frame frame{};
        frame.length = 1;
        for (const int id : taken) {
            frame.id = static_cast<quint32>(id);
            frame.nanoseconds = now * 1000;
            session.take(frame);
        }
        table.update(session.getSnapshot(now), {"bus", now, 0, 0});
        reported.clear();
        const bool isChanged = model.refresh();
        EXPECT_TRUE(isChanged || reported.isEmpty());
        return reported;
    };
    const auto countIn = [&](int row) { return model.index(row, 3).data().toString(); };
    using Rows = QVector<int>;
    EXPECT_EQ(changedRows({}, 0), Rows());
    EXPECT_EQ(changedRows({0, 1, 2, 3}, 1000), (Rows{0, 1, 2, 3}));
    EXPECT_EQ(countIn(0), QString("1"));
    EXPECT_FALSE(model.refresh());
    EXPECT_EQ(changedRows({}, 2000), Rows());
    EXPECT_EQ(changedRows({3, 0, 1}, 3000), (Rows{0, 1, 3}));
    EXPECT_EQ(countIn(0), QString("2"));
    EXPECT_EQ(countIn(2), QString("1"));
    EXPECT_EQ(countIn(3), QString("2"));
    EXPECT_EQ(changedRows({3}, 300000), (Rows{0, 1, 3})) << "two have become silent";
    EXPECT_EQ(model.index(1, 0).data().toString(), QString("~"));
    EXPECT_EQ(changedRows({4}, 300001), (Rows{0, 1, 2, 3, 4})) << "a row was inserted";
    table.setFilter("S3");
    EXPECT_EQ(changedRows({}, 300001), Rows{0});
    EXPECT_EQ(changedRows({1}, 300001), Rows());
    EXPECT_EQ(changedRows({3}, 300001), Rows{0});
    EXPECT_EQ(countIn(0), QString("4"));
}

TEST_F(Window, WindowIsDrawnInTheColoursOfChartAndTable)
{
    showSample();
    select("EngineSpeed");
    EXPECT_TRUE(waitUntil([this] { return cell(7, 0) == "~"; }));
    const QImage picture = window->grab().toImage();
    EXPECT_GT(pixelsOf(picture, averageColor), plot().width() / 2);
    EXPECT_GT(pixelsOf(picture, deviatorColor), 3);
    EXPECT_GT(pixelsOf(picture, silenceColor), 1000);
    select("EngineTorqueMode"); // which has no deviators
    EXPECT_EQ(pixelsOf(window->grab().toImage(), deviatorColor), 0);
}

TEST_F(Window, ChartFollowsTheEnd)
{
    showSample();
    const double end = times().max();
    EXPECT_TRUE(waitUntil([&] { return times().max() > end + 0.1; }));
    EXPECT_EQ(times().min(), 0);
}

TEST_F(Window, WheelZoomsAroundTheMouseAndDoubleClickFollowsAgain)
{
    showSample();
    press("Pause");
    const double usual = extent();
    drag(middleOfPlot(), middleOfPlot() - QPointF(50, 0));
    EXPECT_EQ(extent(), usual) << "the range must not move beyond the end";
    turnWheel(middleOfPlot(), 1);
    EXPECT_NEAR(extent(), 0.8 * usual, 1e-9);
    EXPECT_NEAR(times().max(), usual, 1e-9) << "the end must be followed";
    drag(middleOfPlot(), middleOfPlot() + QPointF(30, 0));
    const double middle = (times().min() + times().max()) / 2;
    EXPECT_LT(times().max(), usual);
    turnWheel(middleOfPlot(), 3);
    EXPECT_NEAR(extent(), 0.8 * 0.8 * 0.8 * 0.8 * usual, 1e-9);
    EXPECT_NEAR((times().min() + times().max()) / 2, middle, 1e-9);
    mouse(*plot().viewport(), QEvent::MouseButtonDblClick, middleOfPlot());
    EXPECT_NEAR(times().max(), usual, 1e-9);
}

TEST_F(Window, PauseFreezesTheDisplayAndNothingIsLost)
{
    showSample();
    press("Pause");
    const double end = times().max();
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(waitForFrames(2 * sampleFrames));
    EXPECT_EQ(cell(0, 3), QString("500"));
    EXPECT_EQ(times().max(), end);
    press("Pause");
    EXPECT_EQ(cell(0, 3), QString("1000"));
    EXPECT_GT(times().max(), end);
}

TEST_F(Window, ResetClearsTableAndChart)
{
    showSample();
    press("Reset");
    EXPECT_EQ(cell(0, 3), QString("0"));
    EXPECT_EQ(cell(0, 4), QString("-"));
    EXPECT_EQ(plot().chart()->title(), QString("ActualEnginePercentTorque, source 0: no values"));
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(waitForFrames(sampleFrames));
    EXPECT_EQ(cell(0, 3), QString("500"));
    EXPECT_FALSE(pointsOf("average").isEmpty());
}

TEST_F(Window, FilterShowsSignalsWithMatchingNames)
{
    showSample();
    window->findChild<QLineEdit*>()->setText("speed");
    ASSERT_EQ(table().model()->rowCount(), 1);
    EXPECT_EQ(cell(0, 1), QString("EngineSpeed"));
    window->findChild<QLineEdit*>()->clear();
    EXPECT_EQ(table().model()->rowCount(), expectedRows("drive.expected").size());
}

TEST_F(Window, SignalStaysSelectedWhenOthersAreInsertedBeforeIt)
{
    QFile file(directory.filePath("speed.log"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("(1.0) can0 0CF00400#FFFFFF803EFFFFFF\n");
    file.close();
    bus.send(file.fileName());
    EXPECT_TRUE(waitForFrames(1));
    ASSERT_EQ(table().model()->rowCount(), 3);
    select("EngineSpeed");
    EXPECT_EQ(table().currentIndex().row(), 1);
    bus.send(sampleFile("drive.log"));
    EXPECT_TRUE(waitForFrames(1 + sampleFrames));
    EXPECT_EQ(plot().chart()->title(), QString("EngineSpeed, source 0"));
    EXPECT_EQ(table().currentIndex().row(), 7);
}

TEST_F(Window, ChartIsSavedAsAnImage)
{
    showSample();
    select("EngineSpeed");
    save("Save chart", directory.filePath("speed.png"));
    const QImage image(directory.filePath("speed.png"));
    EXPECT_EQ(image.size(), plot().size());
    EXPECT_GT(pixelsOf(image, averageColor), image.width() / 2);
    EXPECT_GT(pixelsOf(image, deviatorColor), 3);
}

TEST_F(Window, SavedStatisticsMatchTheOutputOfReplay)
{
    showSample();
    save("Save statistics", directory.filePath("statistics.csv"));
    EXPECT_EQ(QString::fromUtf8(contentOf(directory.filePath("statistics.csv"))),
              replayedSample({"--format", "csv"}));
}

TEST_F(Window, UnwritableFileIsReportedInTheStatusBar)
{
    save("Save statistics", directory.filePath("missing/statistics.csv"));
    const QString text = shownMessage();
    EXPECT_TRUE(text.contains("missing/statistics.csv: cannot be written: ")) << text.toStdString();
    save("Save statistics", directory.filePath("statistics.csv"));
    EXPECT_EQ(shownMessage(), "Saved " + directory.filePath("statistics.csv"));
}

TEST_F(Window, ErrorsOfTheRunAreShownInTheStatusBarUntilItEnds)
{
    class FailingSink : public monitor::ValueSink
    {
    public:
        void take(const monitor::RecordedValue& /*value*/) override { failure = "<b>run: full"; }
        QString error() const override { return failure; }

    private:
        QString failure;
    };
    FailingSink sink;
    session->addValueSink(sink);
    EXPECT_TRUE(window->take({}, {}));
    EXPECT_EQ(shownMessage(), QString());
    showSample();
    EXPECT_EQ(shownMessage(), QString("<b>run: full"));
    const auto* const label = window->findChild<QLabel*>("message");
    EXPECT_EQ(label->toolTip(), QString("<qt>&lt;b&gt;run: full</qt>"));
    save("Save statistics", directory.filePath("statistics.csv"));
    EXPECT_EQ(shownMessage(), "Saved " + directory.filePath("statistics.csv") + "  <b>run: full");
}

TEST_F(Window, ChartWithoutNewValuesIsDrawnOnceForEachSecond)
{
    showSample();
    monitor::Snapshot snapshot = session->getSnapshot(source->takenAt());
    const auto isDrawnAt = [&](qint64 milliseconds) {
        const QPointer<QChart> before(plot().chart());
        EXPECT_TRUE(window->take(snapshot, {"bus", milliseconds * 1000, 0, 0}));
        return before.isNull();
    };
    EXPECT_TRUE(isDrawnAt(600000));
    EXPECT_FALSE(isDrawnAt(600000));
    EXPECT_FALSE(isDrawnAt(600999));
    EXPECT_TRUE(isDrawnAt(601000));
    EXPECT_EQ(times().max(), 601);
    EXPECT_FALSE(isDrawnAt(601500));
    for (monitor::SnapshotRow& row : snapshot.rows)
        row.statistics = std::make_shared<monitor::SignalStatistics>(*row.statistics);
    EXPECT_TRUE(isDrawnAt(601600));
    select("EngineSpeed");
    EXPECT_EQ(plot().chart()->title(), QString("EngineSpeed, source 0"));
}

TEST_F(Window, FramesAreCountedAtOnceEvenIfNoRowChanges)
{
    monitor::Snapshot snapshot;
    const auto headerAt = [&](qint64 milliseconds) {
        EXPECT_TRUE(window->take(snapshot, {"bus", milliseconds * 1000, 0, 500000}));
        return window->findChild<QLabel*>("header")->text().section("  undecoded", 0, 0);
    };
    EXPECT_EQ(headerAt(5000), QString("bus  5.0 s  frames 0"));
    EXPECT_EQ(headerAt(5400), QString("bus  5.0 s  frames 0")) << "the clock alone can wait";
    EXPECT_EQ(headerAt(6000), QString("bus  6.0 s  frames 0"));
    snapshot.counts.total = 1;
    EXPECT_EQ(headerAt(6100), QString("bus  6.1 s  frames 1"));
    snapshot.counts.errors = 1;
    EXPECT_EQ(headerAt(6200), QString("bus  6.2 s  frames 1"));
    snapshot.counts.dropped = 1;
    EXPECT_EQ(headerAt(6300), QString("bus  6.3 s  frames 1"));
}

TEST_F(Window, ColumnsAreWidenedForRowsThatBecomeVisible)
{
    window->resize(window->width(), 200);
    showSample();
    auto* const view = window->findChild<QTableView*>();
    const auto isWideEnough = [&](int row) {
        return view->columnWidth(1) >= QFontMetrics(view->font()).horizontalAdvance(cell(row, 1));
    };
    const int last = view->model()->rowCount() - 1;
    view->scrollToTop();
    view->setColumnWidth(1, 10);
    ASSERT_FALSE(isWideEnough(last));
    view->scrollToBottom();
    EXPECT_TRUE(isWideEnough(last));
}

TEST_F(Window, ClosingItEndsTheRun)
{
    EXPECT_TRUE(window->take({}, {}));
    window->close();
    EXPECT_FALSE(window->take({}, {}));
}

namespace
{

/// The visible window of that type; null if there is no such window.
template <typename T>
T* shownWindow()
{
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const window = dynamic_cast<T*>(widget);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

/// Runs one step after another in the event loops of the program. A step that returns false is
/// repeated. After a minute, all windows are closed and the test fails.
class Steps
{
public:
    explicit Steps(const QVector<std::function<bool()>>& all) : steps(all)
    {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            if (isRunning) // in the event loop of a step
                return;
            isRunning = true;
            if (next < steps.size() && steps.at(next)())
                ++next;
            isRunning = false;
        });
        timer.start(10);
        QTimer::singleShot(60000, &timer, [this] {
            next = int(steps.size());
            if (auto* const dialog = shownWindow<BusDialog>())
                dialog->reject();
            for (QWidget* const widget : QApplication::topLevelWidgets())
                widget->close();
            ADD_FAILURE() << "a step did not succeed";
        });
    }

    bool areDone() const { return next == steps.size(); }

private:
    QVector<std::function<bool()>> steps;
    int next = 0;
    bool isRunning = false;
    QTimer timer;
};

QPushButton& okButton(const QWidget& dialog)
{
    return *dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
}

/// The text field for the interface or for the description.
QLineEdit& field(const QWidget& dialog, bool isInterface)
{
    for (QLineEdit* const edit : dialog.findChildren<QLineEdit*>()) {
        const bool isInComboBox = qobject_cast<QComboBox*>(edit->parent()) != nullptr;
        const bool isInSpinBox = qobject_cast<QAbstractSpinBox*>(edit->parent()) != nullptr;
        if (!isInSpinBox && isInComboBox == isInterface)
            return *edit;
    }
    throw std::logic_error("no such field");
}

QString messageIn(const QWidget& dialog)
{
    const auto* const label = dialog.findChild<QLabel*>("message");
    return label->isVisible() ? label->text() : QString();
}

} // namespace

TEST_F(Window, BusChosenInADialogIsWatchedAndErrorsAreShownThere)
{
    window.reset(); // the dialog is the only window
    monitor::LiveOptions chosen;
    chosen.choosesBus = true;
    chosen.display = monitor::findDisplay("window");
    chosen.bus.plugin = "virtualcan";
    QString printed;
    QString reported;
    QTextStream output(&printed);
    QTextStream diagnostics(&reported);
    MonitorWindow* shown = nullptr;
    const QVector<std::function<bool()>> steps{
        [&] {
            const auto* const dialog = shownWindow<BusDialog>();
            if (!dialog)
                return false;
            EXPECT_EQ(messageIn(*dialog), QString());
            EXPECT_EQ(dialog->findChild<QComboBox*>()->currentText(), QString("virtualcan"));
            field(*dialog, true).setText(options.bus.device);
            EXPECT_FALSE(okButton(*dialog).isEnabled()) << "there is no description";
            field(*dialog, false).setText("missing.dbc");
            okButton(*dialog).click();
            return true;
        },
        [&] {
            const auto* const dialog = shownWindow<BusDialog>();
            if (!dialog)
                return false;
            EXPECT_TRUE(messageIn(*dialog).startsWith("missing.dbc: cannot be read"));
            EXPECT_EQ(field(*dialog, true).text(), options.bus.device);
            field(*dialog, false).setText(sampleFile("drive.eds"));
            dialog->findChild<QSpinBox*>()->setValue(5);
            okButton(*dialog).click();
            return true;
        },
        [&] {
            shown = shownWindow<MonitorWindow>();
            if (shown)
                bus.send(sampleFile("drive.log"));
            return shown != nullptr;
        },
        [&] {
            const bool isShown = shown->findChild<QTableView*>()->model()->rowCount() > 0;
            if (isShown)
                shown->close();
            return isShown;
        }};
    const Steps running(steps);
    EXPECT_EQ(live(chosen, output, diagnostics), monitor::ExitCode::Success);
    EXPECT_TRUE(running.areDone());
    output.flush();
    diagnostics.flush();
    EXPECT_TRUE(printed.contains("\nVelocity actual value "));
    EXPECT_EQ(reported.count("missing.dbc: cannot be read"), 1);
}

TEST_F(Window, CancellingTheDialogEndsTheProgramWithExitCode1)
{
    monitor::LiveOptions chosen;
    chosen.choosesBus = true;
    QString text;
    QTextStream output(&text);
    const Steps running({[] {
        auto* const dialog = shownWindow<BusDialog>();
        if (dialog)
            dialog->reject();
        return dialog != nullptr;
    }});
    EXPECT_EQ(live(chosen, output, output), monitor::ExitCode::NothingDecoded);
    output.flush();
    EXPECT_EQ(text, QString());
}

TEST_F(Window, DialogStartsWithTheGivenOptionsAndRequiresTheMissingOnes)
{
    const auto interfaces = [](const QString& plugin) { return QStringList(plugin + "0"); };
    BusDialog dialog({"one", "two"}, interfaces, {"two", "", ""}, false);
    EXPECT_EQ(dialog.choice().plugin, QString("two"));
    EXPECT_EQ(dialog.choice().device, QString("two0"));
    EXPECT_TRUE(okButton(dialog).isEnabled()) << "needs no description";
    EXPECT_FALSE(dialog.findChild<QSpinBox*>()->isEnabled());
    field(dialog, false).setText("motor.DCF");
    EXPECT_TRUE(dialog.findChild<QSpinBox*>()->isEnabled());
    field(dialog, false).setText("motor.dbc");
    EXPECT_FALSE(dialog.findChild<QSpinBox*>()->isEnabled());
    dialog.findChild<QComboBox*>()->setCurrentText("one");
    EXPECT_EQ(dialog.choice().device, QString("one0"));
    field(dialog, true).clear();
    EXPECT_FALSE(okButton(dialog).isEnabled()) << "needs an interface";
}

TEST(WindowProgram, PrintsTheSameStatisticsAsReplayAtTheEnd)
{
    const VirtualDisplay display;
    const SimulatedBus bus;
    LiveRun run(bus, {"--frames", "1371"}, "window");
    bus.send(sampleFile("drive.log"));
    const MonitorRun ended = run.waitForEnd();
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.diagnostics, QString());
    EXPECT_EQ(ended.output, replayedSample());
}

// Qt has an option of the same name.
TEST(WindowProgram, OptionOfLiveOpensTheWindow)
{
    const VirtualDisplay display;
    const SimulatedBus bus;
    LiveRun run(bus, {"--display", "window", "--frames", "1371"});
    bus.send(sampleFile("drive.log"));
    const MonitorRun ended = run.waitForEnd();
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.diagnostics, QString());
    EXPECT_EQ(ended.output, replayedSample());
}

TEST(WindowProgram, EndsOnTerminateSignal)
{
    const VirtualDisplay display;
    const SimulatedBus bus;
    LiveRun run(bus, {"--format", "csv"}, "window");
    bus.send(sampleFile("drive.log"));
    const MonitorRun ended = run.end();
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.output, replayedSample({"--format", "csv"}));
}

TEST(WindowProgram, MissingDisplayIsReportedWithExitCode2)
{
    const SimulatedBus bus;
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DISPLAY", "");
    const MonitorRun run = runMonitor(QStringList("window") + bus.options() + sampleOptions());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.output, QString());
    EXPECT_EQ(run.diagnostics,
              QString("vantrel: no display available; set DISPLAY or QT_QPA_PLATFORM\n"));
}
