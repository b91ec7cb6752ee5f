#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QAbstractTableModel>
#include <QtCore/QtEndian>
#include <QtSerialBus/QCanBus>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTableView>
#include <iostream>

/// A J1939 signal of 16 bits: its message and sender, its place in the message, and its scaling.
struct Signal {
    QString name, unit;
    quint32 pgn, source;
    int firstByte; // the least significant one
    double factor, offset;
    GenericSignalImpl<J1939Value> values{}; // the newest record, and running statistics of all
    int count = 0;
};

class SignalTable : public QAbstractTableModel
{
    const QStringList titles{"name", "count", "newest", "average", "deviation", "rating", "unit"};
    Signal rows[3]{{"EngineSpeed", "rpm", 61444, 0, 3, 0.125, 0},
                   {"EngineOilTemperature1", "°C", 65262, 0, 2, 1 / 32.0, -273},
                   {"WheelBasedVehicleSpeed", "km/h", 65265, 0, 1, 1 / 256.0, 0}};

public:
    SignalTable()
    {
        for (Signal& row : rows)
            row.values.setDatatype(CAN::CANopenDataType::REAL64);
        startTimer(250);
    }

    void add(const QCanBusFrame& frame)
    {
        const quint32 id = frame.frameId() & 0x3FFFFFF; // PGN and source, without the priority
        const QByteArray data = frame.payload();
        for (Signal& row : rows) {
            if (id != (row.pgn << 8 | row.source) || data.size() < row.firstByte + 2)
                continue;
            J1939Value value;
            value.rawValue = qFromLittleEndian<quint16>(data.constData() + row.firstByte);
            if (value.rawValue.toInt() >= 0xFE00) // error, or not available
                continue;
            row.count += row.values.setNewValue(value, row.factor, row.offset) ? 1 : 0;
        }
    }

    int rowCount(const QModelIndex&) const override { return static_cast<int>(std::size(rows)); }
    int columnCount(const QModelIndex&) const override { return titles.size(); }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        const bool isTitle = orientation == Qt::Horizontal && role == Qt::DisplayRole;
        return isTitle ? titles.at(section) : QVariant();
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        const Signal& row = rows[index.row()];
        J1939Value newest;
        if (role != Qt::DisplayRole || (index.column() > 1 && !row.values.getValue(0, newest)))
            return QVariant();
        const double average = row.values.calcAverage();
        const double deviation = row.values.calcDeviation();
        const int rating = GenericValueHandler<double, J1939Value>::getRating(
            newest, average - 3 * deviation, average + 3 * deviation, average);
        const QVariantList cells{row.name, row.count, newest.scaledValue, average, deviation,
                                 rating,   row.unit};
        return cells.at(index.column());
    }

    void timerEvent(QTimerEvent*) override
    {
        emit dataChanged(index(0, 0), index(rowCount({}) - 1, columnCount({}) - 1));
    }
};

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const auto fail = [](const QString& message) {
        std::cerr << "live-table: " << message.toStdString() << std::endl;
        return 2;
    };
    QString error;
    const std::unique_ptr<QCanBusDevice> bus(QCanBus::instance()->createDevice(
        QApplication::arguments().value(1), QApplication::arguments().value(2), &error));
    if (!bus)
        return fail(error + " (usage: live-table PLUGIN INTERFACE; plugins: " +
                    QCanBus::instance()->plugins().join(' ') + ')');
    SignalTable table;
    QObject::connect(bus.get(), &QCanBusDevice::framesReceived, &table, [&] {
        while (bus->framesAvailable() > 0)
            table.add(bus->readFrame());
    });
    if (!bus->connectDevice())
        return fail(bus->errorString());
    QObject::connect(bus.get(), &QCanBusDevice::stateChanged, &table, [&](auto state) {
        if (state == QCanBusDevice::UnconnectedState)
            QApplication::exit(fail("no connection to the bus. " + bus->errorString()));
    });
    QTableView view;
    view.setModel(&table);
    view.resize(800, 160);
    view.show();
    return QApplication::exec();
}
