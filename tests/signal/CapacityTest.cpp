#include <feed.h>

#include <new>

namespace
{

/// The greatest number of records that fit into 2 GiB with Qt's header of 24 bytes.
template <typename T>
constexpr int capacity = 0;
template <>
constexpr int capacity<CANopenObjectValue> = 38347921;
template <>
constexpr int capacity<J1939Value> = 53687090;

template <typename T>
class SignalCapacity : public testing::Test
{
protected:
    void SetUp() override
    {
        if (sizeof(void*) != 8)
            GTEST_SKIP() << "records are smaller on this platform";
    }
};
TYPED_TEST_SUITE(SignalCapacity, RecordTypes);

} // namespace

// Reserved memory that is never written takes no room.
TYPED_TEST(SignalCapacity, ASeriesFillsTwoGiBytes)
{
    QVector<TypeParam> series;
    series.reserve(capacity<TypeParam>);
    EXPECT_GE(series.capacity(), capacity<TypeParam>);
}

// A QVector of Qt 6 may be larger.
#if QT_VERSION_MAJOR == 5 &&                                                                       \
    defined(NDEBUG) // AddressSanitizer and memcheck report how QtCore asks for too much memory
TYPED_TEST(SignalCapacity, OneMoreRecordThanFitsIntoTwoGiBytesThrows)
{
    QVector<TypeParam> series;
    EXPECT_THROW(series.reserve(capacity<TypeParam> + 1), std::bad_alloc);
}
#endif
