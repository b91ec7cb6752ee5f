#include <displays/terminal/KeyReader.h>

#include <gtest/gtest.h>

#include <QtCore/QStringList>

using monitor::Key;
using monitor::KeyReader;

namespace
{

/// The kinds of \a keys as numbers, and characters as they are.
QString textOf(const QVector<Key>& keys)
{
    QStringList words;
    for (const Key& key : keys)
        words += key.kind == Key::Character ? QString(key.character) : QString::number(key.kind);
    return words.join(' ');
}

QString textOf(const QVector<Key::Kind>& kinds)
{
    QStringList words;
    for (const Key::Kind kind : kinds)
        words += QString::number(kind);
    return words.join(' ');
}

QString readAtOnce(const QByteArray& bytes)
{
    KeyReader reader;
    return textOf(reader.read(bytes));
}

} // namespace

TEST(KeyReader, ReadsCharactersInUtf8)
{
    EXPECT_EQ(readAtOnce("q/\xc3\xa9"), QString::fromUtf8("q / \xc3\xa9"));
}

TEST(KeyReader, ReadsBothFormsOfCursorKeys)
{
    using Kinds = QVector<Key::Kind>;
    EXPECT_EQ(readAtOnce("\x1b[A\x1b[B\x1b[C\x1b[D"),
              textOf(Kinds{Key::Up, Key::Down, Key::Right, Key::Left}));
    EXPECT_EQ(readAtOnce("\x1bOA\x1bOB\x1bOH\x1bOF"),
              textOf(Kinds{Key::Up, Key::Down, Key::Home, Key::End}));
    EXPECT_EQ(readAtOnce("\x1b[5~\x1b[6~\x1b[1~\x1b[4~"),
              textOf(Kinds{Key::PageUp, Key::PageDown, Key::Home, Key::End}));
}

TEST(KeyReader, ReadsEditingKeys)
{
    using Kinds = QVector<Key::Kind>;
    EXPECT_EQ(readAtOnce("\r\n\x7f\b"),
              textOf(Kinds{Key::Enter, Key::Enter, Key::Backspace, Key::Backspace}));
}

TEST(KeyReader, SequenceCanArriveInPieces)
{
    KeyReader reader;
    EXPECT_TRUE(reader.read("\x1b").isEmpty());
    EXPECT_TRUE(reader.read("[").isEmpty());
    EXPECT_EQ(textOf(reader.read("Aq")), textOf(QVector<Key::Kind>{Key::Up}) + " q");
    EXPECT_TRUE(reader.read("\xc3").isEmpty());
    EXPECT_EQ(textOf(reader.read("\xa9")), QString::fromUtf8("\xc3\xa9"));
}

TEST(KeyReader, EscapeIsAKeyIfNothingFollows)
{
    const QString escape = textOf(QVector<Key::Kind>{Key::Escape});
    KeyReader reader;
    EXPECT_TRUE(reader.read("\x1b").isEmpty());
    EXPECT_EQ(textOf(reader.finish()), escape);
    EXPECT_TRUE(reader.finish().isEmpty());
    EXPECT_EQ(textOf(reader.read("\x1bq")), escape + " q");
}

TEST(KeyReader, UnknownKeysAreSkipped)
{
    EXPECT_EQ(readAtOnce("\x1b[15~q\x1b[1;5Ap\x01\xff"), QString("q p"));
    KeyReader reader;
    reader.read("\x1b[1");
    EXPECT_TRUE(reader.finish().isEmpty());
    EXPECT_EQ(textOf(reader.read("q")), QString("q"));
}
