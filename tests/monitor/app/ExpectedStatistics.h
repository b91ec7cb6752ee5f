#pragma once

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <cmath>

inline QString sampleFile(const QString& name)
{
    return QStringLiteral(SAMPLE_DIRECTORY "/") + name;
}

inline QByteArray contentOf(const QString& fileName)
{
    QFile file(fileName);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << fileName.toStdString();
    return file.readAll();
}

/// The independently computed statistics of a sample. Each row contains name, source, count,
/// newest, average, deviation, minimum, maximum, median, rating, both ends of the band, deviators,
/// n/a and error of a signal.
inline QList<QStringList> expectedRows(const QString& file)
{
    QList<QStringList> rows;
    for (const QByteArray& line : contentOf(sampleFile(file)).trimmed().split('\n'))
        rows += QString::fromLatin1(line).split(';');
    return rows;
}

/// Compares numbers to nine significant digits, and other text exactly.
inline void expectSame(const QString& shown, const QString& expected, const QString& where)
{
    bool isNumber = false;
    const double number = expected.toDouble(&isNumber);
    if (isNumber)
        EXPECT_NEAR(shown.toDouble(), number, 6e-9 * std::fabs(number)) << where.toStdString();
    else
        EXPECT_EQ(shown, expected) << where.toStdString();
}
