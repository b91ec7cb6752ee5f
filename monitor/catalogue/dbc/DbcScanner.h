#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace monitor
{

/// Decodes a DBC file: UTF-8 or UTF-16 if it begins with a byte order mark, otherwise UTF-8 if that
/// is valid, otherwise code page 1252, which older tools use for units.
QString decodeDbc(const QByteArray& content);

/// Splits the text of a DBC file into words, numbers, texts and symbols. Line ends count as blanks,
/// and // starts a comment that extends to the end of the line. Every function first skips blanks
/// and comments. This class is reentrant.
class DbcScanner
{
public:
    explicit DbcScanner(QString content);

    bool atEnd();

    /// The next character; null at the end.
    QChar peek();

    /// The line of the next character, counted from 1.
    qint64 line();

    /// Letters, digits and underscores: a name or keyword. Empty if something else comes next.
    QString takeWord();

    /// The same, but empty if the next word is a keyword.
    QString takeName();

    /// The next word, without taking it.
    QString peekWord();

    /// Digits; empty if something else comes next.
    QString takeDigits();

    /// Characters that can occur in a number with sign, fraction and exponent; empty if something
    /// else comes next. The caller must check that they form a number.
    QString takeNumber();

    /// Takes \a symbol if it is next. Returns whether it was.
    bool take(char symbol);

    /// A text in quotation marks, in which \" stands for a quotation mark. No value if the next
    /// character is not a quotation mark. An unterminated text extends to the end of the file and
    /// has no value either.
    std::optional<QString> takeText();

    /// The same for the unit of a signal. If one of its lines starts with a keyword, the closing
    /// quotation mark must be missing: then only the first line is taken, and there is no value.
    std::optional<QString> takeUnit();

    /// Skips the rest of a section, including its semicolon. If the semicolon is missing, the
    /// section ends before the next keyword at the start of a line.
    void skipSection();

    /// Skips the rest of a message or signal, up to the next keyword.
    void skipToKeyword();

    /// Whether a section, message or signal starts with \a word.
    static bool isKeyword(const QString& word);

    /// The line in which an unterminated text starts; 0 if there is no such text.
    qint64 lineOfOpenText() const { return openText; }

private:
    /// Whether \a symbol is the character after the next one.
    bool isFollowedBy(char symbol) const;
    void skipBlanks();
    void skipOne();
    bool isFirstInLine() const;
    template <typename Predicate>
    QString takeWhile(Predicate belongs);

    QString text;
    decltype(text.size()) position = 0;
    qint64 currentLine = 1;
    qint64 openText = 0;
};

} // namespace monitor
