// A library in several versions, selected by macros, to test the ABI comparison.

#define EXPORTED __attribute__((visibility("default")))

struct Record {
#ifdef REORDERED
    double weight;
    int value;
#else
    int value;
    double weight;
#endif
#ifdef WIDENED
    int tag;
#endif
};

#ifdef NARROWED
using Value = short;
#else
using Value = int;
#endif

EXPORTED Value valueOf(const Record& record)
{
    return static_cast<Value>(record.value);
}

#ifndef REMOVED
EXPORTED double weightOf(const Record& record)
{
    return record.weight;
}
#endif

#ifdef ADDED
EXPORTED double productOf(const Record& record)
{
    return record.value * record.weight;
}
#endif
