#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace monitor
{

/// The text of a DBC file: UTF-8 or UTF-16 if it begins with a byte order mark, UTF-8 if it is
/// valid as such, and otherwise code page 1252, in which older tools write units.
QString decodeDbc(const QByteArray& content);

/// Takes a DBC file apart. Line ends separate words as blanks do, and // begins a comment up to
/// the end of its line. Every function skips what separates words first. This class is reentrant.
class DbcScanner
{
public:
    explicit DbcScanner(QString content);

    bool atEnd();

    /// The next character; null at the end.
    QChar peek();

    /// The line of the next character, counted from 1.
    qint64 line();

    /// A name or keyword, also one that begins with a digit; empty if there is none.
    QString takeWord();

    /// A name; empty if there is none, and before a keyword.
    QString takeName();

    /// The same without taking it.
    QString peekWord();

    /// Digits; empty if there are none.
    QString takeDigits();

    /// A number with its sign, fraction and exponent, or whatever stands in its place; empty if
    /// there is none. The caller checks it.
    QString takeNumber();

    /// Whether \a symbol is next, which is taken then.
    bool take(char symbol);

    /// A text in quotation marks, \" in it being a quotation mark. Nothing if there is none, or if
    /// it never ends, which is the end of the file then.
    std::optional<QString> takeText();

    /// The same for the unit of a signal. Nothing if a keyword begins a line of it: then its end is
    /// missing, and it ends with its first line.
    std::optional<QString> takeUnit();

    /// Skips the rest of a section: up to its semicolon, or to a keyword at the beginning of a line
    /// if the semicolon is missing.
    void skipSection();

    /// Skips the rest of a message or signal: up to the next keyword.
    void skipToKeyword();

    /// Whether \a word begins a section, a message or a signal.
    static bool isKeyword(const QString& word);

    /// The line in which a text begins that never ends; 0 if all texts end.
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
