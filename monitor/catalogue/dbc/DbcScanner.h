#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace monitor
{

/// The text of a DBC file: UTF-8 or UTF-16 if it begins with a byte order mark, UTF-8 if it is
/// valid as such, and otherwise code page 1252, in which older tools write units.
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

    /// Letters, digits and underscores: a name or keyword. Empty if there are none.
    QString takeWord();

    /// The same, but empty if the next word is a keyword.
    QString takeName();

    /// The next word, which is not taken.
    QString peekWord();

    /// Digits; empty if there are none.
    QString takeDigits();

    /// The characters of a number with sign, fraction and exponent; empty if there are none. The
    /// caller must check that they are a number.
    QString takeNumber();

    /// Takes \a symbol if it is next. Returns whether it was.
    bool take(char symbol);

    /// A text in quotation marks, in which \" stands for a quotation mark. No value if there is
    /// none. A text without an end extends to the end of the file and has no value either.
    std::optional<QString> takeText();

    /// The same for the unit of a signal. If a line of it starts with a keyword, its end must be
    /// missing: then only its first line is taken, and it has no value.
    std::optional<QString> takeUnit();

    /// Skips the rest of a section, including its semicolon. If the semicolon is missing, the
    /// section ends before the next keyword at the start of a line.
    void skipSection();

    /// Skips the rest of a message or signal, up to the next keyword.
    void skipToKeyword();

    /// Whether a section, message or signal starts with \a word.
    static bool isKeyword(const QString& word);

    /// The line in which a text without an end starts; 0 if every text has an end.
    qint64 lineOfOpenText() const { return openText; }

private:
    void skipBlanks();
    void skipOne();
    bool isFirstInLine() const;
    template <typename Predicate>
    QString takeWhile(Predicate belongs);

    QString text;
    int position = 0;
    qint64 currentLine = 1;
    qint64 openText = 0;
};

} // namespace monitor
