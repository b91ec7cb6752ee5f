#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/library/LibVantrel.h>
#include <vantrel/signal/GenericSignalImpl.h>

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>

#include <iostream>

namespace
{

int failures = 0;

void expect(bool condition, const char* description)
{
    if (!condition) {
        std::cerr << "failed: " << description << "\n";
        ++failures;
    }
}

template <typename T>
void useSignal()
{
    GenericSignalImpl<T> signal;
    signal.setDatatype(CAN::CANopenDataType::UNSIGNED16);
    signal.setValueHandling(GenericSignal::NewValueHandlingType::Append);
    for (const int raw : {80, 120}) {
        T record;
        record.rawValue = raw;
        signal.setNewValue(record, 0.5, 10);
    }
    double average = 0;
    double median = 0;
    double deviation = 0;
    QVariant maximum;
    QVariant minimum;
    unsigned int count = 0;
    signal.getValueStatistics(average, maximum, minimum, median, deviation, count);
    expect(average == 60 && deviation == 10 && median == 60, "average, deviation and median");
    expect(maximum == 70.0 && minimum == 50.0 && count == 2, "maximum, minimum and count");
    expect(GenericValueHandler<unsigned short, T>::getMax(signal.getValues()) == 70, "getMax");

    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << signal.getValues();
    QDataStream in(bytes);
    QVector<T> read;
    in >> read;
    expect(read.size() == 2 && read.last().scaledValue == 70, "the stream round trip");
}

} // namespace

int main()
{
    const LibVantrel library;
    Q_UNUSED(library)
    useSignal<CANopenObjectValue>();
    useSignal<J1939Value>();
    expect(CANopenObjectValue() == CANopenObjectValue(), "equality");
    expect(StatisticCalculator<int>(std::nullopt).getAverage() == 0, "an empty calculator");
    return failures == 0 ? 0 : 1;
}
