#pragma once

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

// CAN vocabulary, built when the library is loaded and never changed. Both tables have internal
// linkage, so they are not exported.

/// The names of CAN errors for display, by error code.
static const QMap<unsigned char, QString> canErrorNames{
    {1, QStringLiteral("Stuff error")},          {2, QStringLiteral("Form error")},
    {3, QStringLiteral("Acknowledgment error")}, {4, QStringLiteral("Bit error")},
    {5, QStringLiteral("Fast data bit error")},  {6, QStringLiteral("CRC error")},
    {7, QStringLiteral("Data length error")},    {8, QStringLiteral("unspecified error")}};

/// The payload lengths of CAN FD, in bytes, beyond the 8 bytes of classic CAN.
static const QList<unsigned char> fdDataLengths = [] {
    QList<unsigned char> lengths;
    lengths.reserve(7);
    lengths << 12 << 16 << 20 << 24 << 32 << 48 << 64;
    return lengths;
}(); // GCOV_EXCL_LINE: only an exception gets here
