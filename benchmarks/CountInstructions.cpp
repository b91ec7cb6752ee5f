// Runs under callgrind, which writes one file of instruction counts for each row. The script
// "instructions" puts them into a table.

#include "floors.h"

#include <vantrel/signal/GenericSignalImpl.h>

#include <string>

#include <valgrind/callgrind.h>

namespace
{

constexpr auto replaceNewest = GenericSignal::NewValueHandlingType::ReplaceNewest;
constexpr auto append = GenericSignal::NewValueHandlingType::Append;

template <typename Add>
void countInstructions(const std::string& row, int values, Add add)
{
    const std::string name = row + '/' + std::to_string(values);
    CALLGRIND_ZERO_STATS;
    for (int i = 0; i < values; ++i)
        add();
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

template <typename N, typename T>
void countOneValue(const std::string& type, CAN::CANopenDataType datatype,
                   GenericSignal::NewValueHandlingType handling, int values)
{
    const std::string row = (handling == append ? "append one of " : "replace by one of ") +
                            std::to_string(values) + ' ' + type;
    T record;
    record.rawValue = QVariant(N(100));
    GenericSignalImpl<T> signal;
    signal.setDatatype(datatype);
    signal.setValueHandling(handling);
    signal.setUpdatingEnabled(false);
    countInstructions(row + "/own", values, [&] { signal.setNewValue(record, 1, 0); });
    FloorSignal<N, T> floor(handling == replaceNewest);
    countInstructions(row + "/floor", values, [&] { floor.add(record, 1, 0); });
}

template <typename T>
void countTypes(const std::string& recordName)
{
    using Type = CAN::CANopenDataType;
    constexpr int values = 10000;
    for (const auto handling : {append, replaceNewest}) {
        countOneValue<int, T>("INTEGER32" + recordName, Type::INTEGER32, handling, values);
        countOneValue<unsigned char, T>("UNSIGNED8" + recordName, Type::UNSIGNED8, handling,
                                        values);
        countOneValue<unsigned short, T>("UNSIGNED16" + recordName, Type::UNSIGNED16, handling,
                                         values);
        countOneValue<float, T>("REAL32" + recordName, Type::REAL32, handling, values);
        countOneValue<double, T>("REAL64" + recordName, Type::REAL64, handling, values);
        countOneValue<unsigned long long, T>("UNSIGNED64" + recordName, Type::UNSIGNED64, handling,
                                             values);
        countOneValue<int, T>("VISIBLE_STRING" + recordName, Type::VISIBLE_STRING, handling,
                              values);
    }
}

} // namespace

int main()
{
    countTypes<J1939Value>(", J1939");
    countTypes<CANopenObjectValue>(", CANopen");
    // The cost of a value must not depend on the length of the series.
    for (const int values : {1000, 100000, 1000000})
        countOneValue<int, J1939Value>("INTEGER32, J1939", CAN::CANopenDataType::INTEGER32, append,
                                       values);
    return 0;
}
