#include <sources/recording/bytes/ByteReader.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>

using monitor::ByteReader;

namespace
{

ByteReader readerOf(const QByteArray& content)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    return ByteReader(std::move(buffer), "x.blf");
}

/// Bytes that differ from their neighbours, also at a distance of whole blocks.
QByteArray numbered(int size)
{
    QByteArray content(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        content[i] = static_cast<char>(i % 251);
    return content;
}

} // namespace

TEST(ByteReader, BytesArriveInOrderAcrossBlocks)
{
    const QByteArray content = numbered(1500000);
    for (const int step : {1000, 262144, 700000}) {
        ByteReader reader = readerOf(content);
        for (int at = 0; at + step <= content.size(); at += step) {
            ASSERT_TRUE(reader.require(step));
            ASSERT_EQ(reader.position(), at);
            ASSERT_GE(reader.available(), step);
            ASSERT_EQ(QByteArray(reader.data(), step), content.mid(at, step)) << at;
            EXPECT_EQ(reader.skip(step), step);
        }
    }
}

TEST(ByteReader, EndOfTheDeviceLeavesTheRest)
{
    ByteReader reader = readerOf("abcdef");
    EXPECT_EQ(reader.skip(4), 4);
    EXPECT_FALSE(reader.require(3));
    EXPECT_EQ(QByteArray(reader.data(), static_cast<int>(reader.available())), "ef");
    EXPECT_TRUE(reader.require(2));
    EXPECT_EQ(reader.skip(5), 2);
    EXPECT_EQ(reader.position(), 6);
    EXPECT_EQ(reader.available(), 0);
    EXPECT_TRUE(reader.require(0));
}

TEST(ByteReader, SkipsMoreThanABlock)
{
    const QByteArray content = numbered(1500000);
    ByteReader reader = readerOf(content);
    EXPECT_EQ(reader.skip(1000001), 1000001);
    ASSERT_TRUE(reader.require(10));
    EXPECT_EQ(QByteArray(reader.data(), 10), content.mid(1000001, 10));
}

TEST(ByteReader, RequestBeyondTheMaximumReadsNothing)
{
    ByteReader reader = readerOf("abc");
    EXPECT_FALSE(reader.require(ByteReader::maxRequest + 1));
    EXPECT_EQ(reader.available(), 0);
    EXPECT_FALSE(reader.require(ByteReader::maxRequest));
    EXPECT_EQ(reader.available(), 3);
}

TEST(ByteReader, NumbersAreReadInBothByteOrders)
{
    EXPECT_EQ(monitor::littleEndian<quint32>("\x01\x02\x03\x04"), 0x04030201U);
    EXPECT_EQ(monitor::bigEndian<quint16>("\x01\x02"), 0x0102U);
}

TEST(ByteReader, FdLengthCodesAreThoseOfTheStandard)
{
    EXPECT_EQ(monitor::fdLengthOf(8), 8);
    EXPECT_EQ(monitor::fdLengthOf(9), 12);
    EXPECT_EQ(monitor::fdLengthOf(13), 32);
    EXPECT_EQ(monitor::fdLengthOf(15), 64);
}
