#include "DbcScanner.h"

#include "text/LineReader.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QTextStream>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace monitor
{

namespace
{

constexpr const char* keywords[] = {
    "BA_",
    "BA_DEF_",
    "BA_DEF_DEF_",
    "BA_DEF_DEF_REL_",
    "BA_DEF_REL_",
    "BA_DEF_SGTYPE_",
    "BA_REL_",
    "BA_SGTYPE_",
    "BO_",
    "BO_TX_BU_",
    "BS_",
    "BU_",
    "BU_BO_REL_",
    "BU_EV_REL_",
    "BU_SG_REL_",
    "CAT_",
    "CAT_DEF_",
    "CM_",
    "ENVVAR_DATA_",
    "EV_",
    "EV_DATA_",
    "FILTER",
    "NS_",
    "NS_DESC_",
    "SG_",
    "SGTYPE_",
    "SGTYPE_VAL_",
    "SG_MUL_VAL_",
    "SIGTYPE_VALTYPE_",
    "SIG_GROUP_",
    "SIG_TYPE_REF_",
    "SIG_VALTYPE_",
    "VAL_",
    "VAL_TABLE_",
    "VERSION",
};

/// The characters 80 to 9F of code page 1252. In Latin-1 they are control characters.
constexpr char16_t windowsCharacters[] =
    u"\u20AC\uFFFD\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\uFFFD\u017D"
    u"\uFFFD\uFFFD\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\uFFFD"
    u"\u017E\u0178";

QString decodeWindows1252(const QByteArray& content)
{
    QString text = QString::fromLatin1(content.constData(), content.size());
    for (QChar& character : text) {
        if (character >= QChar(0x80) && character <= QChar(0x9F))
            character = QChar(windowsCharacters[character.unicode() - 0x80]);
    }
    return text;
}

bool isWordCharacter(QChar character)
{
    return character.isLetterOrNumber() || character == '_';
}

bool isDigit(QChar character)
{
    return character >= '0' && character <= '9';
}

} // namespace

QString decodeDbc(const QByteArray& content)
{
    if (content.startsWith(byteOrderMark))
        return QString::fromUtf8(content.constData(), content.size());
    const QByteArray marks[] = {"\xFF\xFE", "\xFE\xFF", QByteArray("\0\0\xFE\xFF", 4)};
    const bool isWide =
        std::any_of(std::begin(marks), std::end(marks),
                    [&](const QByteArray& mark) { return content.startsWith(mark); });
    if (isWide) // QTextStream recognises UTF-16 and UTF-32 by their byte order marks
        return QTextStream(content).readAll();
    const std::optional<QString> text = fromUtf8(content);
    return text ? *text : decodeWindows1252(content);
}

DbcScanner::DbcScanner(QString content) : text(std::move(content))
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace('\r', '\n');
}

bool DbcScanner::atEnd()
{
    skipBlanks();
    return position == text.size();
}

QChar DbcScanner::peek()
{
    return atEnd() ? QChar() : text.at(position);
}

qint64 DbcScanner::line()
{
    skipBlanks();
    return currentLine;
}

QString DbcScanner::takeWord()
{
    return takeWhile(isWordCharacter);
}

QString DbcScanner::takeName()
{
    return isKeyword(peekWord()) ? QString() : takeWord();
}

QString DbcScanner::peekWord()
{
    QString word = takeWord();
    position -= word.size();
    return word;
}

QString DbcScanner::takeDigits()
{
    return takeWhile(isDigit);
}

QString DbcScanner::takeNumber()
{
    return takeWhile([](QChar character) {
        return isWordCharacter(character) || character == '.' || character == '+' ||
               character == '-';
    });
}

bool DbcScanner::take(char symbol)
{
    if (peek() != QLatin1Char(symbol))
        return false;
    ++position;
    return true;
}

std::optional<QString> DbcScanner::takeText()
{
    const qint64 begin = line();
    if (!take('"'))
        return std::nullopt;
    QString taken;
    for (; position < text.size(); ++position) {
        const QChar character = text.at(position);
        if (character == '"') {
            ++position;
            return taken;
        }
        currentLine += character == '\n' ? 1 : 0;
        const bool isEscaped = character == '\\' && isFollowedBy('"');
        position += isEscaped ? 1 : 0;
        taken += text.at(position);
    }
    openText = begin;
    return std::nullopt;
}

std::optional<QString> DbcScanner::takeUnit()
{
    static const QRegularExpression lineStart(QStringLiteral("\\n\\s*(\\w+)"));
    skipBlanks();
    const DbcScanner before = *this;
    std::optional<QString> unit = takeText();
    const QString taken = text.mid(before.position, position - before.position);
    for (auto lines = lineStart.globalMatch(taken); lines.hasNext();) {
        if (!isKeyword(lines.next().captured(1)))
            continue;
        *this = before;
        position += taken.indexOf('\n');
        return std::nullopt;
    }
    return unit;
}

void DbcScanner::skipSection()
{
    while (!atEnd() && !take(';')) {
        const bool isFirst = isFirstInLine();
        if (isFirst && isKeyword(peekWord()))
            return;
        skipOne();
    }
}

void DbcScanner::skipToKeyword()
{
    while (!atEnd()) {
        if (isKeyword(peekWord()))
            return;
        skipOne();
    }
}

/// Skips a text, a word or a symbol.
void DbcScanner::skipOne()
{
    if (peek() == '"')
        takeText();
    else if (takeWord().isEmpty())
        ++position;
}

bool DbcScanner::isFollowedBy(char symbol) const
{
    return position + 1 < text.size() && text.at(position + 1) == QLatin1Char(symbol);
}

bool DbcScanner::isKeyword(const QString& word)
{
    return std::any_of(std::begin(keywords), std::end(keywords),
                       [&word](const char* keyword) { return word == QLatin1String(keyword); });
}

void DbcScanner::skipBlanks()
{
    while (position < text.size()) {
        const QChar character = text.at(position);
        if (character == '/' && isFollowedBy('/')) {
            const auto end = text.indexOf('\n', position);
            position = end < 0 ? text.size() : end;
            continue;
        }
        if (!character.isSpace() && character != QChar(0xFEFF))
            return;
        currentLine += character == '\n' ? 1 : 0;
        ++position;
    }
}

/// Whether only blanks precede the next character on its line.
bool DbcScanner::isFirstInLine() const
{
    for (auto i = position - 1; i >= 0 && text.at(i) != '\n'; --i) {
        if (!text.at(i).isSpace())
            return false;
    }
    return true;
}

template <typename Predicate>
QString DbcScanner::takeWhile(Predicate belongs)
{
    skipBlanks();
    const auto begin = position;
    while (position < text.size() && belongs(text.at(position)))
        ++position;
    return text.mid(begin, position - begin);
}

} // namespace monitor
