#include <text/suggestions.h>

#include <gtest/gtest.h>

using monitor::didYouMean;
using monitor::nearNames;

namespace
{

const QStringList& engineNames()
{
    static const QStringList names{"EngineSpeed", "EngineLoad", "CoolantTemperature", "WheelSpeed"};
    return names;
}

} // namespace

TEST(Suggestions, AnySingleTypoIsRecognised)
{
    for (const char* misspelt : {"EngineSped", "EngineSpeeed", "EngineSpeet", "EngineSpede"})
        EXPECT_EQ(nearNames(misspelt, engineNames()).value(0), "EngineSpeed") << misspelt;
}

TEST(Suggestions, NameInDifferentCaseIsTheNearest)
{
    EXPECT_EQ(nearNames("enginespeed", {"EngineSpeed2", "EngineSpeed"}).value(0), "EngineSpeed");
}

TEST(Suggestions, SwappedNeighboursCountAsOneTypo)
{
    // Two typos would be more than a third of four letters.
    EXPECT_EQ(nearNames("lvie", {"live"}), QStringList{"live"});
    EXPECT_EQ(nearNames("evil", {"live"}), QStringList());
}

TEST(Suggestions, UpToAThirdOfTheLettersCanDiffer)
{
    EXPECT_EQ(nearNames("abcdXX", {"abcdef"}), QStringList{"abcdef"});
    EXPECT_EQ(nearNames("abcXXX", {"abcdef"}), QStringList());
    EXPECT_EQ(nearNames("ab", {"ac"}), QStringList());
}

TEST(Suggestions, PartOfANameSuggestsTheNamesThatContainIt)
{
    EXPECT_EQ(nearNames("speed", engineNames()), (QStringList{"WheelSpeed", "EngineSpeed"}));
    EXPECT_EQ(nearNames("e", engineNames()), QStringList());
}

TEST(Suggestions, ThreeNearestNamesAreSuggestedInOrderWithoutDuplicates)
{
    const QStringList candidates{"Signal123", "Signal12", "Signal1", "Signal1", "Signal12345"};
    EXPECT_EQ(nearNames("Signal1", candidates), (QStringList{"Signal1", "Signal12", "Signal123"}));
}

TEST(Suggestions, NothingIsSuggestedIfNoNameIsSimilar)
{
    EXPECT_EQ(nearNames("Torque", engineNames()), QStringList());
    EXPECT_EQ(nearNames("", engineNames()), QStringList());
    EXPECT_EQ(nearNames("Torque", {}), QStringList());
    EXPECT_EQ(didYouMean("Torque", engineNames()), QString());
}

TEST(Suggestions, QuestionListsAllSuggestions)
{
    EXPECT_EQ(didYouMean("EngineSped", {"EngineSpeed"}), " (did you mean EngineSpeed?)");
    EXPECT_EQ(didYouMean("axx", {"axxb", "axxc", "axxd"}), " (did you mean axxb, axxc or axxd?)");
}
