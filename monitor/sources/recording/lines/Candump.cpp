#include "Candump.h"

#include "text/LineCursor.h"
#include "text/LineReader.h"
#include "text/eightCharacters.h"

#include <QtCore/QDateTime>

#include <algorithm>

namespace monitor
{

namespace
{

constexpr int standardDigits = 3;
constexpr int extendedDigits = 8;
constexpr quint32 errorFlag = 0x20000000;
constexpr quint32 bitRateSwitchFlag = 1;
constexpr quint32 highestRawLength = 15;              // the highest length code of a frame
constexpr qint64 firstLongTime = 1000000000000000000; // its seconds have 10 digits
constexpr int longestInterface = 64;                  // Linux allows 15 characters
constexpr char reversedSeparator = '`';
constexpr char escape = '\x1b';

/// The forms of a time. Short is the form (000.005001) of the screen format, which is never an
/// absolute time.
enum class TimeForm { Missing, Seconds, Short, Date };

} // namespace

struct CandumpLine {
    Frame frame;
    Word bus;
    TimeForm timeForm = TimeForm::Missing;
    quint32 lost = 0;
};

namespace
{

LineKind kindOf(const Frame& frame)
{
    return frame.id > lastExtendedId ? LineKind::ErrorFrame : LineKind::Frame;
}

/// Whether the time at \a cursor has 3 to 9 digits before the point. An absolute time of candump
/// has 10, with leading zeros.
bool isShort(LineCursor cursor)
{
    int digits = 0;
    while (isDigit(cursor.take()))
        ++digits;
    return digits >= 3 && digits <= 9;
}

/// Part of a colour is not accepted as part of a name.
bool isInterface(const Word& word)
{
    return !word.isEmpty() && word.size <= longestInterface && word.at(0) != '(' &&
           std::find(word.begin, word.begin + word.size, escape) == word.begin + word.size;
}

/// Reads exactly \a digits digits, followed by \a separator.
bool readPart(LineCursor& cursor, int digits, char separator, int& number)
{
    for (number = 0; digits > 0 && isDigit(cursor.peek()); --digits)
        number = number * 10 + (cursor.take() - '0');
    return digits == 0 && cursor.take(separator);
}

/// Reads a date and time such as "2021-10-25 19:00:55.020850", an optional part of the screen
/// format. The time zone is unknown, so only differences between times are meaningful. If there is
/// no date, \a cursor does not move.
bool readDateAndTime(LineCursor& cursor, qint64& nanoseconds)
{
    LineCursor ahead = cursor;
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    if (!readPart(ahead, 4, '-', year) || !readPart(ahead, 2, '-', month) ||
        !readPart(ahead, 2, ' ', day) || !readPart(ahead, 2, ':', hour) ||
        !readPart(ahead, 2, ':', minute) || !readTime(ahead, nanoseconds))
        return false;
    const QDate date(year, month, day);
    const QTime time(hour, minute);
    const qint64 minutes = QDateTime(date, time, Qt::UTC).toSecsSinceEpoch() / 60;
    constexpr qint64 nanosecondsPerMinute = 60000000000;
    if (!date.isValid() || !time.isValid() || minutes < 0 ||
        minutes >= latestTime / nanosecondsPerMinute)
        return false;
    nanoseconds += minutes * nanosecondsPerMinute;
    cursor = ahead;
    return true;
}

/// Reads the rest of a time in brackets.
bool readBracketedTime(LineCursor& cursor, CandumpLine& line)
{
    const LineCursor begin = cursor;
    qint64 time = 0;
    line.timeForm = TimeForm::Seconds;
    if (!readTime(cursor, time) || cursor.peek() == '-') {
        line.timeForm = TimeForm::Date;
        cursor = begin;
        if (!readDateAndTime(cursor, time))
            return false;
    } else if (time < firstLongTime && isShort(begin)) {
        line.timeForm = TimeForm::Short;
    }
    line.frame.nanoseconds = time;
    return cursor.take(')') && cursor.skipBlanks();
}

/// Reads a time without brackets, which has a point, unlike an interface that is a number.
bool readBareTime(LineCursor& cursor, CandumpLine& line)
{
    LineCursor ahead = cursor;
    const Word word = ahead.takeWord();
    if (std::find(word.begin, word.begin + word.size, '.') == word.begin + word.size)
        return true;
    qint64 time = 0;
    if (!readTime(cursor, time) || !cursor.skipBlanks())
        return false;
    line.timeForm = TimeForm::Seconds;
    line.frame.nanoseconds = time;
    return true;
}

/// Reads the optional time and the interface.
bool readStart(LineCursor& cursor, CandumpLine& line)
{
    if (cursor.take('(')) {
        if (!readBracketedTime(cursor, line))
            return false;
    } else if (isDigit(cursor.peek()) && !readBareTime(cursor, line)) {
        return false;
    }
    line.bus = cursor.takeWord();
    return isInterface(line.bus) && cursor.skipBlanks();
}

bool readId(const Word& word, Frame& frame)
{
    frame.extended = word.size == extendedDigits;
    const quint32 last = frame.extended ? lastExtendedId | errorFlag : lastStandardId;
    return (frame.extended || word.size == standardDigits) && readNumber(word, 16, last, frame.id);
}

bool readByte(LineCursor& cursor, Frame& frame, int limit)
{
    const auto high = hexDigit(cursor.take());
    const auto low = hexDigit(cursor.take());
    if (!high || !low || frame.length == limit)
        return false;
    frame.data.at(frame.length++) = static_cast<quint8>(*high << 4 | *low);
    return true;
}

/// Reads the optional length code above 8 of a classic frame of 8 bytes, such as "_9" after the
/// data.
bool readRawLength(LineCursor& cursor, bool has8)
{
    if (!cursor.take('_'))
        return true;
    const auto length = hexDigit(cursor.take());
    return has8 && length && *length > longestClassicFrame && *length <= highestRawLength;
}

bool readRemote(LineCursor& cursor, Frame& frame)
{
    frame.remote = true;
    const char length = cursor.peek();
    if (length >= '0' && length <= '8')
        cursor.take();
    return readRawLength(cursor, length == '8');
}

bool readBytes(LineCursor& cursor, Frame& frame, int limit)
{
    while (!cursor.atEnd() && !isBlank(cursor.peek()) && cursor.peek() != '_') {
        if (frame.length > 0)
            cursor.take('.');
        if (!readByte(cursor, frame, limit))
            return false;
    }
    return true;
}

bool readFdFlags(LineCursor& cursor, Frame& frame)
{
    const auto flags = hexDigit(cursor.take());
    frame.fd = true;
    frame.bitRateSwitch = flags && (*flags & bitRateSwitchFlag) != 0;
    return flags.has_value();
}

/// Reads the part after the # of the compact format.
bool readCompactData(LineCursor& cursor, Frame& frame)
{
    if (cursor.take('R') || cursor.take('r'))
        return readRemote(cursor, frame);
    if (cursor.take('#'))
        return readFdFlags(cursor, frame) && (cursor.take('.') ? !cursor.atEnd() : true) &&
               readBytes(cursor, frame, static_cast<int>(frame.data.size()));
    return readBytes(cursor, frame, longestClassicFrame) &&
           readRawLength(cursor, frame.length == longestClassicFrame);
}

/// Reads the part after the data of the compact format, which is empty or the direction.
bool readCompactEnd(LineCursor& cursor)
{
    const bool separated = cursor.skipBlanks();
    if (cursor.atEnd())
        return true;
    const Word direction = cursor.takeWord();
    cursor.skipBlanks();
    return separated && (direction == "R" || direction == "T") && cursor.atEnd();
}

/// Reads the length given before the data: "[8]", "{9}" to "{F}" for a length code of a classic
/// frame of 8 bytes, or "[08]" to "[64]" for CAN FD.
bool readAnnouncedLength(const Word& word, quint32& length, Frame& frame)
{
    const Word digits{word.begin + 1, word.size - 2};
    if (word.size == 3 && word.at(0) == '{' && word.last() == '}') {
        const bool isCode = readNumber(digits, 16, highestRawLength, length);
        const bool isLong = isCode && length > longestClassicFrame;
        length = longestClassicFrame;
        return isLong;
    }
    if (word.size < 3 || word.size > 4 || word.at(0) != '[' || word.last() != ']')
        return false;
    frame.fd = word.size == 4;
    const quint32 longest = frame.fd ? quint32(frame.data.size()) : longestClassicFrame;
    return readNumber(digits, 10, longest, length);
}

/// Reads a byte of two hexadecimal or eight binary digits.
bool readScreenByte(LineCursor& cursor, Frame& frame)
{
    const Word word = cursor.takeWord(reversedSeparator);
    quint32 byte = 0;
    if (!(word.size == 2 || word.size == 8) ||
        !readNumber(word, word.size == 2 ? 16 : 2, 0xFF, byte))
        return false;
    frame.data.at(frame.length++) = static_cast<quint8>(byte);
    return true;
}

/// Reads bytes such as "11 22 33", or in reverse order "33`22`11".
bool readScreenBytes(LineCursor& cursor, quint32 length, Frame& frame)
{
    bool isReversed = false;
    while (frame.length < length) {
        if (frame.length == 1)
            isReversed = cursor.peek() == reversedSeparator;
        if (!(isReversed ? cursor.take(reversedSeparator) : cursor.skipBlanks()) ||
            !readScreenByte(cursor, frame))
            return false;
    }
    if (isReversed)
        std::reverse(frame.data.begin(), frame.data.begin() + frame.length);
    return cursor.atEnd() || isBlank(cursor.peek());
}

/// Reads the part after the bytes of the screen format: nothing, the bytes as characters, or the
/// mark of an error frame.
bool readScreenEnd(LineCursor& cursor, bool isError)
{
    cursor.skipBlanks();
    if (cursor.atEnd())
        return !isError;
    if (isError)
        return cursor.takeWord() == "ERRORFRAME";
    return cursor.peek() == '\'' || cursor.peek() == reversedSeparator;
}

bool readScreenData(LineCursor& cursor, quint32 length, Frame& frame)
{
    LineCursor ahead = cursor;
    if (ahead.takeNextWord() == "remote" && ahead.takeNextWord() == "request") {
        frame.remote = true;
        ahead.skipBlanks();
        return ahead.atEnd();
    }
    return readScreenBytes(cursor, length, frame) &&
           readScreenEnd(cursor, frame.id > lastExtendedId);
}

/// Takes the id, reading an optional direction and flags such as "RX - -" or "TX B E" before it.
Word takeScreenId(LineCursor& cursor, Frame& frame)
{
    const Word word = cursor.takeWord();
    if (!(word == "RX" || word == "TX"))
        return word;
    frame.bitRateSwitch = cursor.takeNextWord() == "B";
    cursor.takeNextWord();
    return cursor.takeNextWord();
}

/// Reads a line after the interface.
bool readScreen(LineCursor& cursor, Frame& frame)
{
    quint32 length = 0;
    return readId(takeScreenId(cursor, frame), frame) &&
           readAnnouncedLength(cursor.takeNextWord(), length, frame) &&
           readScreenData(cursor, length, frame);
}

bool readFrame(LineCursor cursor, CandumpLine& line)
{
    if (!readStart(cursor, line))
        return false;
    LineCursor ahead = cursor;
    const Word digits = ahead.takeWord('#');
    if (!ahead.take('#'))
        return readScreen(cursor, line.frame);
    if (line.timeForm == TimeForm::Short)
        line.timeForm = TimeForm::Seconds; // candump writes no differences in this format
    // Without a time, a number in front of the frame may be a time instead of the interface.
    const bool hasInterface = line.frame.nanoseconds || !isDigit(line.bus.at(0));
    return hasInterface && readId(digits, line.frame) && readCompactData(ahead, line.frame) &&
           readCompactEnd(ahead);
}

/// Recognises CAN XL frames, such as "can0 45123#81:00:12345678#1122" and "can0 123 [0012] (...".
bool isXlFrame(LineCursor cursor)
{
    CandumpLine line;
    cursor.skipBlanks();
    if (!readStart(cursor, line))
        return false;
    LineCursor ahead = cursor;
    const Word priority = ahead.takeWord('#');
    if (ahead.take('#')) {
        const Word header = ahead.takeWord('#');
        return priority.size == 5 && header.size == 14 && ahead.peek() == '#';
    }
    takeScreenId(cursor, line.frame);
    const Word length = cursor.takeNextWord();
    return length.size == 6 && length.at(0) == '[' && length.last() == ']';
}

// An example is "DROPCOUNT: dropped 12 CAN frames on 'can0' socket (total drops 12)".
bool readLost(LineCursor cursor, quint32& lost)
{
    constexpr quint32 last = 0xFFFFFFFF; // candump counts in 32 bits
    return cursor.takeWord() == "DROPCOUNT:" && cursor.takeNextWord() == "dropped" &&
           readNumber(cursor.takeNextWord(), 10, last, lost) && lost > 0;
}

LineKind parse(std::string_view text, CandumpLine& line)
{
    LineCursor cursor(text);
    cursor.skipBlanks();
    if (cursor.atEnd() || cursor.peek() == '#')
        return LineKind::Nothing;
    if (readFrame(cursor, line))
        return kindOf(line.frame);
    return readLost(cursor, line.lost) ? LineKind::Lost : LineKind::Unknown;
}

/// Returns \a text without the sequences that change the colour on a screen.
std::string withoutColours(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != escape) {
            plain += text[i];
            continue;
        }
        while (i + 1 < text.size() && text[i] != 'm')
            ++i;
    }
    return plain;
}

/// Reads the ten digits at \a text into known.nanoseconds. Returns false if they are not
/// digits or too large.
bool takeSeconds(const char* text, CandumpStart& known)
{
    const quint64 first = eightCharacters(text);
    const quint64 last = eightCharacters(text + 2);
    if (first == known.firstDigits && last == known.lastDigits)
        return true;
    const quint64 seconds = quint64{decimalValue(first)} * 100 + decimalValue(last) % 100;
    if (!areDecimalDigits(first) || !areDecimalDigits(last) ||
        seconds >= latestTime / nanosecondsPerSecond)
        return false;
    known.firstDigits = first;
    known.lastDigits = last;
    known.nanoseconds = seconds * nanosecondsPerSecond;
    return true;
}

/// Reads a line such as "(1635188455.020850) can1 18F00E00#821639C4FFFFFFFF" into \a frame, and
/// returns its end. Returns nullptr, leaving \a frame unchanged, if the line has another form. It
/// may be followed by the padding of a LineReader only.
const char* readUsualLine(const char* line, CandumpStart& known, BusNames& busNames, Frame& frame)
{
    static_assert(LineReader::padding >= 64); // the longest such line has 55 characters
    const quint64 point = eightCharacters(line + 11);
    const quint64 fraction = withLeadingZeros(point >> 8, 6);
    if (line[0] != '(' || !takeSeconds(line + 1, known) || (point & 0xFF) != '.' ||
        !areDecimalDigits(fraction) || point >> 56 != ')' || line[19] != ' ')
        return nullptr;
    const quint64 time = known.nanoseconds + quint64{decimalValue(fraction)} * 1000;

    // Comparing is faster than finding the end of the name.
    const char* const name = line + 20;
    const quint64 nameText = eightCharacters(name);
    const bool hasSameName = (nameText & known.nameMask) == known.name;
    const int nameSize = hasSameName ? known.nameSize : leadingPrintable(nameText);
    const char* const id = name + nameSize + 1;
    if (!hasSameName && (nameSize == 0 || nameSize == 8 || *name == '(' || name[nameSize] != ' '))
        return nullptr;

    const bool extended = id[extendedDigits] == '#';
    const int idSize = extended ? extendedDigits : standardDigits;
    const quint64 idDigits = withLeadingZeros(eightCharacters(id), idSize);
    const quint32 number = hexValue(idDigits);

    const char* const data = id + idSize + 1;
    const quint64 first = eightCharacters(data);
    const quint64 second = eightCharacters(data + 8);
    const int firstSize = leadingHexDigits(first);
    const int digits = firstSize == 8 ? 8 + leadingHexDigits(second) : firstSize;
    const char* lineEnd = data + digits;
    lineEnd += *lineEnd == '\r' ? 1 : 0;
    if (id[idSize] != '#' || !areHexDigits(idDigits) ||
        number > (extended ? lastExtendedId : lastStandardId) || digits % 2 != 0 ||
        *lineEnd != '\n')
        return nullptr;

    if (!hasSameName) {
        known.name = firstCharacters(nameText, nameSize + 1);
        known.nameMask = firstCharacters(~quint64{0}, nameSize + 1);
        known.nameSize = nameSize;
        known.bus = busNames.indexOf(firstCharacters(nameText, nameSize), nameSize);
    }
    frame.nanoseconds = static_cast<qint64>(time);
    frame.id = number;
    frame.extended = extended;
    frame.remote = false;
    frame.fd = false;
    frame.bitRateSwitch = false;
    frame.bus = known.bus;
    frame.length = static_cast<quint8>(digits / 2);
    const quint64 bytes = quint64{hexBytes(second)} << 32 | hexBytes(first);
    qToLittleEndian(firstCharacters(bytes, digits / 2), frame.data.data());
    return lineEnd + 1;
}

/// The frames of a recording of candump.
class CandumpRecording : public TextRecording
{
public:
    CandumpRecording(std::unique_ptr<QIODevice> device, const QString& name,
                     std::unique_ptr<LineParser> lineParser, const CandumpReader& candumpReader)
        : TextRecording(std::move(device), name, std::move(lineParser)), reader(candumpReader)
    {
    }

    int read(Frame* frames, int size) override
    {
        if (nextHeld == held.size()) {
            const int count = TextRecording::read(frames, size);
            if (count > 0 && reader.endsBatch())
                holdBack(frames[count - 1]);
            return count;
        }
        int count = 0;
        while (count < size && nextHeld < held.size())
            frames[count++] = held.at(nextHeld++);
        return count;
    }

private:
    /// Holds frames back until the meaning of their times is known, beginning with \a frame.
    void holdBack(Frame& frame)
    {
        QVector<std::optional<qint64>> sums;
        Frame read = frame;
        do {
            held.append(read);
            sums.append(reader.sumOfTimes());
        } while (reader.areTimesUndecided() && TextRecording::read(&read, 1) == 1);
        for (int i = 0; i < held.size() && reader.areTimesDifferences(); ++i) {
            if (sums.at(i))
                held[i].nanoseconds = sums.at(i);
        }
        frame = held.at(nextHeld++);
    }

    const CandumpReader& reader;
    QVector<Frame> held;
    int nextHeld = 0;
};

} // namespace

LineKind CandumpReader::readLine(std::string_view line, Frame& frame)
{
    CandumpLine read;
    LineKind kind = parse(line, read);
    if (kind == LineKind::Unknown)
        kind = parseUnusual(line, read);
    newestIsFrame = kind == LineKind::Frame;
    if (kind == LineKind::Unknown)
        return kind;
    isAfterErrorFrame =
        kind == LineKind::ErrorFrame || (isAfterErrorFrame && startsWith(line, "\t"));
    lostSoFar += read.lost;
    if (!addTime(read))
        return LineKind::Unknown;
    if (kind == LineKind::Frame) {
        read.frame.bus = busNames.indexOf(read.bus.begin, read.bus.size);
        frame = read.frame;
        withoutTime += frame.nanoseconds ? 0 : 1;
    }
    return kind;
}

int CandumpReader::readUsualLines(LineReader& lines, Frame* frames, int size)
{
    const int count =
        readAhead(lines, frames, size, [this](const char* line, const char*, Frame& frame) {
            return readUsualLine(line, usualStart, busNames, frame);
        });
    if (count > 0) { // as in readLine()
        newestIsFrame = true;
        isAfterErrorFrame = false;
        newestSum.reset();
    }
    return count;
}

/// Parses lines that other programs or the screen have changed. They are rare, so the usual ones
/// are tried first.
LineKind CandumpReader::parseUnusual(std::string_view line, CandumpLine& read)
{
    const std::size_t zeroBytes = std::min(line.find_first_not_of('\0'), line.size());
    hasZeroBytes = hasZeroBytes || zeroBytes > 0 || (!line.empty() && line.back() == '\0');
    if (zeroBytes > 0 && zeroBytes == line.size())
        return LineKind::Unknown;
    std::string_view text = line.substr(zeroBytes);
    if (startsWith(text, byteOrderMark))
        text.remove_prefix(qstrlen(byteOrderMark));
    plainText = withoutColours(text);
    if (endsWith(plainText, ": interface down") ||
        (isAfterErrorFrame && startsWith(plainText, "\t")))
        return LineKind::Nothing;
    if (isXlFrame(LineCursor(plainText))) {
        ++xlFrames;
        return LineKind::Nothing;
    }
    read = CandumpLine();
    return plainText.size() < line.size() ? parse(plainText, read) : LineKind::Unknown;
}

/// Interprets the time of a line of any kind. Returns false if the sum of times is too large.
bool CandumpReader::addTime(CandumpLine& read)
{
    newestSum.reset();
    hasDates = hasDates || read.timeForm == TimeForm::Date;
    if (read.timeForm != TimeForm::Short)
        return true;
    const qint64 time = *read.frame.nanoseconds;
    if (timeOrigin == TimeOrigin::Unused)
        timeOrigin = TimeOrigin::Undecided;
    if (timeOrigin == TimeOrigin::Undecided && time < newestTime)
        timeOrigin = TimeOrigin::PreviousLine;
    else if (timeOrigin == TimeOrigin::Undecided && ++timesSoFar == examinedTimes)
        timeOrigin = TimeOrigin::FirstLine;
    newestTime = time;
    if (timeOrigin == TimeOrigin::FirstLine)
        return true;
    if (sum > latestTime - time)
        return timeOrigin == TimeOrigin::Undecided;
    sum += time;
    newestSum = sum;
    if (timeOrigin == TimeOrigin::PreviousLine)
        read.frame.nanoseconds = sum;
    return true;
}

QStringList CandumpReader::notes() const
{
    QStringList notes;
    if (timeOrigin == TimeOrigin::PreviousLine)
        notes += QStringLiteral("short times such as (000.010000) decrease, so each is taken as "
                                "the time since the previous line");
    else if (timeOrigin != TimeOrigin::Unused)
        notes += QStringLiteral("short times such as (000.010000) do not decrease, so each is "
                                "taken as the time since the first line");
    if (hasDates)
        notes += QStringLiteral("the dates have no time zone and are taken as UTC");
    if (withoutTime > 0)
        notes += QStringLiteral("%1 frame(s) have no time").arg(withoutTime);
    if (xlFrames > 0)
        notes += QStringLiteral("%1 CAN XL frame(s) skipped").arg(xlFrames);
    if (hasZeroBytes)
        notes +=
            QStringLiteral("contains zero bytes, perhaps from a power failure; they are skipped");
    return notes;
}

qint64 findCandump(const QByteArray& start)
{
    return findLine(start, [](std::string_view line) {
        CandumpReader reader;
        Frame ignored;
        const LineKind kind = reader.readLine(line, ignored);
        return kind != LineKind::Nothing && kind != LineKind::Unknown;
    });
}

std::unique_ptr<FrameSource> openCandump(std::unique_ptr<QIODevice> device, const QString& name)
{
    auto reader = std::make_unique<CandumpReader>();
    const CandumpReader& candumpReader = *reader;
    return std::make_unique<CandumpRecording>(std::move(device), name, std::move(reader),
                                              candumpReader);
}

} // namespace monitor
