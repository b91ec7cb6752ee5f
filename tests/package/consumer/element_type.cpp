#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>
#include <vantrel/handlers/GenericValueHandler.h>

double average(const QVector<J1939Value>& values)
{
    return GenericValueHandler<ELEMENT_TYPE, J1939Value>::calcTypeBasedAverage(values);
}
