// A library to preload into a program with a table view. It prints the contents of the table when
// they change, and closes the window at the end of standard input.

#include <QtCore/QAbstractItemModel>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTableView>

#include <cstdio>

namespace
{

void printTable(const QTableView& view)
{
    const QAbstractItemModel& model = *view.model();
    const auto* delegate = qobject_cast<QStyledItemDelegate*>(view.itemDelegate());
    QByteArray text;
    for (int row = -1; row < model.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < model.columnCount(); ++column)
            cells += row < 0
                         ? model.headerData(column, Qt::Horizontal).toString()
                         : delegate->displayText(model.index(row, column).data(), view.locale());
        text += cells.join(';').toUtf8() + '\n';
    }
    std::fputs((text + '\n').constData(), stdout);
    std::fflush(stdout);
}

void findTable(QTimer& timer)
{
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        const auto* view = qobject_cast<QTableView*>(widget);
        if (!view || !view->isVisible())
            continue;
        timer.stop();
        QObject::connect(view->model(), &QAbstractItemModel::dataChanged, view,
                         [view] { printTable(*view); });
    }
}

void start()
{
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer] { findTable(*timer); });
    timer->start(1);
    auto* const input = new QSocketNotifier(0, QSocketNotifier::Read, qApp);
    QObject::connect(input, &QSocketNotifier::activated, input, [input] {
        input->setEnabled(false);
        QApplication::closeAllWindows();
    });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(start)
