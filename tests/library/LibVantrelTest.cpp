#include <vantrel/library/LibVantrel.h>

#include <vantrel/library/canVocabulary.h>

#include <gtest/gtest.h>

#include <type_traits>

TEST(CanErrorNames, NameExactlyTheEightKindsOfError)
{
    const QMap<unsigned char, QString> expected{
        {1, "Stuff error"},       {2, "Form error"},          {3, "Acknowledgment error"},
        {4, "Bit error"},         {5, "Fast data bit error"}, {6, "CRC error"},
        {7, "Data length error"}, {8, "unspecified error"}};
    EXPECT_EQ(canErrorNames, expected);
    EXPECT_EQ(canErrorNames.size(), 8);
}

TEST(CanErrorNames, HaveNoEntryForZeroOrNine)
{
    EXPECT_FALSE(canErrorNames.contains(0));
    EXPECT_FALSE(canErrorNames.contains(9));
    EXPECT_FALSE(canErrorNames.contains(255));
}

TEST(FdDataLengths, ListThePayloadLengthsAboveEightInAscendingOrder)
{
    EXPECT_EQ(fdDataLengths, (QList<unsigned char>{12, 16, 20, 24, 32, 48, 64}));
}

TEST(LibVantrel, IsAnEmptyClassThatCanBeConstructed)
{
    static_assert(std::is_empty_v<LibVantrel>);
    static_assert(!std::is_polymorphic_v<LibVantrel>);
    [[maybe_unused]] const LibVantrel library;
}
