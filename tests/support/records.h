#pragma once

#include <vantrel/handlers/elementTypes.h>
#include <vantrel/values/CANopenObjectValue.h>
#include <vantrel/values/J1939Value.h>

#include <QtCore/QVector>

#include <gtest/gtest.h>

#include <initializer_list>

/// Both record types, for typed tests.
using RecordTypes = testing::Types<CANopenObjectValue, J1939Value>;

/// The ten element types, for typed tests.
using ElementTypes = ElementTypesIn<testing::Types>;

/// An element type with a record type.
template <typename Element, typename Record>
struct HandlerCase {
    using N = Element;
    using T = Record;
};

template <typename... N>
using HandlerCaseList =
    testing::Types<HandlerCase<N, CANopenObjectValue>..., HandlerCase<N, J1939Value>...>;

/// The ten element types with both record types, for typed tests.
using HandlerCases = ElementTypesIn<HandlerCaseList>;

template <typename T>
T rawRecord(const QVariant& raw)
{
    T record;
    record.rawValue = raw;
    return record;
}

template <typename T>
T scaledRecord(const QVariant& scaled)
{
    T record;
    record.scaledValue = scaled;
    return record;
}

template <typename T>
QVector<T> rawRecords(std::initializer_list<QVariant> raws)
{
    QVector<T> records;
    for (const QVariant& raw : raws)
        records.append(rawRecord<T>(raw));
    return records;
}

template <typename T>
QVector<T> scaledRecords(std::initializer_list<QVariant> scaledValues)
{
    QVector<T> records;
    for (const QVariant& scaled : scaledValues)
        records.append(scaledRecord<T>(scaled));
    return records;
}
