#include <sources/recording/lines/Asc.h>
#include <sources/recording/lines/Candump.h>
#include <text/LineReader.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>

#include <algorithm>
#include <array>
#include <random>

using monitor::Frame;
using monitor::LineKind;

namespace
{

constexpr int batchSize = 8;

using Random = std::mt19937;

int randomUpTo(Random& random, int last)
{
    return std::uniform_int_distribution<int>(0, last)(random);
}

char oneOf(Random& random, const QByteArray& characters)
{
    return characters.at(randomUpTo(random, static_cast<int>(characters.size()) - 1));
}

QByteArray randomText(Random& random, int size, const QByteArray& characters)
{
    QByteArray text;
    while (text.size() < size)
        text += oneOf(random, characters);
    return text;
}

QByteArray candumpLine(Random& random)
{
    const QByteArray names[] = {"can0", "can1", "vcan0", "c", "slcan12", "slcan123", "a-long-name"};
    // Similar times follow each other.
    const QByteArray similar[] = {"1635188455", "1635188456", "0635188455", "1735188455"};
    const QByteArray seconds = randomUpTo(random, 2) > 0 ? similar[randomUpTo(random, 3)]
                                                         : oneOf(random, "0011122233349") +
                                                               randomText(random, 9, "0123456789");
    const QByteArray digits = randomUpTo(random, 3) > 0 ? "0123456789ABCDEF" : "0123456789abcdef";
    const bool isExtended = randomUpTo(random, 1) == 1;
    const QByteArray id = isExtended ? oneOf(random, "0111112") + randomText(random, 7, digits)
                                     : oneOf(random, "012345678") + randomText(random, 2, digits);
    const int bytes = randomUpTo(random, 9);
    return '(' + seconds + '.' + randomText(random, 6, "0123456789") + ") " +
           names[randomUpTo(random, 6)] + ' ' + id + '#' +
           randomText(random, randomUpTo(random, 19) > 0 ? 2 * bytes : bytes, digits);
}

QByteArray blanks(Random& random, int most)
{
    return QByteArray(1 + randomUpTo(random, most - 1), ' ');
}

QByteArray ascLine(Random& random)
{
    const QByteArray headers[] = {"base dec  timestamps absolute", "base hex  timestamps relative",
                                  "date Mon Nov 16 10:38:11.123 am 2020",
                                  "date Mon Oct 1 10:38:11.123 am 2096"}; // nearly the latest time
    const QByteArray sizes[] = {"1", "2", "9", "3999999999", "12345678", "4000000"};
    // A header changes the meaning of the lines that follow, so there are few.
    if (randomUpTo(random, 150) == 0)
        return headers[randomUpTo(random, 3)];
    if (randomUpTo(random, 30) == 0)
        return "base hex  timestamps absolute";
    const QByteArray digits = randomUpTo(random, 3) > 0 ? "0123456789ABCDEF" : "0123456789abcdef";
    const QByteArray seconds = randomUpTo(random, 9) > 0
                                   ? randomText(random, 1 + randomUpTo(random, 6), "0123456789")
                                   : sizes[randomUpTo(random, 5)];
    const bool isExtended = randomUpTo(random, 1) == 1;
    const QByteArray id = isExtended
                              ? oneOf(random, "0111112") + randomText(random, 7, digits) + 'x'
                              : oneOf(random, "012345678") + randomText(random, 2, digits);
    const int bytes = randomUpTo(random, 9);
    QByteArray line = (randomUpTo(random, 1) == 0 ? QByteArray() : blanks(random, 12)) + seconds +
                      '.' + randomText(random, 1 + randomUpTo(random, 7), "0123456789") +
                      blanks(random, 2) + QByteArray::number(randomUpTo(random, 260)) +
                      blanks(random, 3) + id + blanks(random, 20) +
                      (randomUpTo(random, 1) == 0 ? "Rx" : "Tx") + blanks(random, 4) + 'd' +
                      blanks(random, 2) + QByteArray::number(bytes);
    for (int i = 0; i < bytes; ++i)
        line += ' ' + randomText(random, 2, digits);
    const QByteArray ends[] = {"", " ", "  Length = 273910 BitCount = 141 ID = 1x", " 11 22"};
    return line + ends[randomUpTo(random, 3)];
}

/// Changes up to two characters of \a line.
QByteArray damaged(Random& random, QByteArray line)
{
    constexpr char characters[] =
        "0123456789ABCDEFabcdefgGxX@/:`. #()_[]RTdrx\t\r\x1b\0\x7F\x80\xB0\xFF";
    const QByteArray usual(characters, sizeof(characters) - 1);
    for (int changes = randomUpTo(random, 3) - 1; changes > 0 && !line.isEmpty(); --changes) {
        const int place = randomUpTo(random, static_cast<int>(line.size()) - 1);
        const char other = oneOf(random, usual);
        switch (randomUpTo(random, 5)) {
        case 0:
            line.insert(place, other);
            break;
        case 1:
            line.remove(place, 1);
            break;
        case 2:
            line.truncate(place);
            break;
        default:
            line[place] = other;
        }
    }
    return line;
}

/// Lines as LineReader passes them on, without their line breaks.
QList<QByteArray> linesOf(const QByteArray& content)
{
    QList<QByteArray> lines = content.split('\n');
    lines.removeLast(); // after the last line break
    for (QByteArray& line : lines) {
        while (line.endsWith('\r'))
            line.chop(1);
    }
    return lines;
}

testing::AssertionResult areSame(const Frame& left, const Frame& right)
{
    const bool isSame =
        left.nanoseconds == right.nanoseconds && left.id == right.id &&
        left.extended == right.extended && left.remote == right.remote && left.fd == right.fd &&
        left.bitRateSwitch == right.bitRateSwitch && left.bus == right.bus &&
        left.length == right.length &&
        std::equal(left.data.begin(), left.data.begin() + left.length, right.data.begin());
    return isSame ? testing::AssertionSuccess() : testing::AssertionFailure() << "frames differ";
}

/// Reads \a content in both ways, and expects the same. Returns the number of usual lines.
template <typename Parser>
int compareWays(Random& random, const QByteArray& content)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    monitor::LineReader lines(std::move(buffer), QString());
    const QList<QByteArray> expected = linesOf(content);
    Parser quick;
    Parser general;
    int usual = 0;
    int position = 0;
    for (std::string_view rest;;) {
        std::array<Frame, batchSize> frames;
        frames.fill(Frame{12345, 0x7777, true, true, true, true, 77, 64, {}});
        const int count =
            quick.readUsualLines(lines, frames.data(), 1 + randomUpTo(random, batchSize - 1));
        usual += count;
        for (int i = 0; i < count; ++i) {
            const QByteArray& line = expected.at(position++);
            Frame frame;
            EXPECT_EQ(general.readLine(monitor::viewOf(line), frame), LineKind::Frame)
                << line.constData();
            EXPECT_TRUE(areSame(frames[static_cast<size_t>(i)], frame)) << line.constData();
        }
        if (count > 0)
            continue;
        if (!lines.readLine(rest))
            break;
        const QByteArray& line = expected.at(position++);
        EXPECT_EQ(rest, monitor::viewOf(line));
        EXPECT_EQ(lines.lineNumber(), position);
        Frame quickFrame;
        Frame generalFrame;
        EXPECT_EQ(quick.readLine(rest, quickFrame),
                  general.readLine(monitor::viewOf(line), generalFrame))
            << line.constData();
        EXPECT_TRUE(areSame(quickFrame, generalFrame)) << line.constData();
    }
    EXPECT_EQ(position, expected.size());
    EXPECT_EQ(quick.buses(), general.buses());
    EXPECT_EQ(quick.notes(), general.notes());
    EXPECT_EQ(quick.lost(), general.lost());
    return usual;
}

/// Compares both ways of reading many lines of \a makeLine, of which some are damaged.
template <typename Parser>
void compareManyLines(QByteArray (*makeLine)(Random& random))
{
    Random random(20211025);
    constexpr int rounds = 100;
    constexpr int linesPerRound = 1000;
    int usual = 0;
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE(round);
        QByteArray content;
        for (int i = 0; i < linesPerRound; ++i)
            content += damaged(random, makeLine(random)) + (round % 4 == 0 ? "\r\n" : "\n");
        usual += compareWays<Parser>(random, content);
    }
    EXPECT_GT(usual, rounds * linesPerRound / 4);
}

} // namespace

TEST(UsualLines, OfCandumpAreReadAsByTheGeneralParser)
{
    compareManyLines<monitor::CandumpReader>(candumpLine);
}

// Before the first line, the reader must not take zeros for known digits.
TEST(UsualLines, OfCandumpHaveDigitsFromTheFirstOneOn)
{
    Random random(1);
    for (const int zeros : {1, 2, 8, 9, 10}) {
        const QByteArray line =
            '(' + QByteArray(zeros, '\0') + QByteArray(10 - zeros, '1') + ".020850) can0 123#11\n";
        EXPECT_EQ(compareWays<monitor::CandumpReader>(random, "#\n" + line), 0) << zeros;
    }
}

TEST(UsualLines, OfAscAreReadAsByTheGeneralParser)
{
    compareManyLines<monitor::AscReader>(ascLine);
}

TEST(UsualLines, OfAscNeedNoGeneralParser)
{
    Random random(1);
    const QByteArray lines =
        "   0.015991 1  18FEDF00x       Rx   d 8 8A A0 0F A6 60 3B D1 40  Length = 273910 ID = 1x\n"
        "  10.015992 2  123             Tx   d 3 8A A0 0F\n";
    EXPECT_EQ(compareWays<monitor::AscReader>(random, "#\n" + lines.repeated(500)), 1000);
}

TEST(UsualLines, OfCandumpNeedNoGeneralParser)
{
    Random random(1);
    const QByteArray line = "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF\n";
    EXPECT_EQ(compareWays<monitor::CandumpReader>(random, "#\n" + line.repeated(1000)), 1000);
}
