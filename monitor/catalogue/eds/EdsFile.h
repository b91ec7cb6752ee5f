#pragma once

#include "text/Problems.h"

#include <QtCore/QHash>

#include <optional>

namespace monitor
{

/// The number in \a text as CiA 306 writes it: hexadecimal after 0x, octal after another leading 0,
/// else decimal; or the sum of such a number and $NODEID, in either order, for \a node. Case,
/// blanks around the parts and a comment after ";" do not matter. Nothing if \a text is something
/// else or the number does not fit into 32 bits.
std::optional<quint32> readEdsNumber(const QString& text, quint8 node);

/// One "key=value" of an EDS or DCF.
struct EdsEntry {
    QString value;
    qint64 line = 0; ///< its line in the file; 0 if there is no such entry
};

/// The sections and entries of an EDS or DCF (CiA 306), read line by line. Case does not matter in
/// sections and keys, nor do leading zeros of the index and sub-index in "[1A00sub01]". Lines that
/// are not understood are problems, and the rest is used; of equal entries the first counts. This
/// class is reentrant.
class EdsFile
{
public:
    /// Reads the line of that \a number, counted from 1.
    void readLine(qint64 number, const QByteArray& line, Problems& problems);

    /// The entry \a key in \a section, both in lower case; an empty one if it is missing.
    EdsEntry entry(const QString& section, const QString& key) const;

    bool hasSection(const QString& section) const { return sections.contains(section); }

    /// How many sections have this ParameterName.
    int sectionsNamed(const QString& parameterName) const { return names.value(parameterName); }

    /// How many of the sections of the object at \a index have this ParameterName.
    int sectionsNamed(quint32 index, const QString& parameterName) const
    {
        return names.value(sectionOf(index) + '=' + parameterName);
    }

    /// The name of the section of an object or of one of its sub-indices.
    static QString sectionOf(quint32 index);
    static QString sectionOf(quint32 index, quint32 subIndex);

private:
    void addEntry(qint64 number, const QString& line, Problems& problems);

    QHash<QString, QHash<QString, EdsEntry>> sections;
    QHash<QString, int> names; // also "index=name"
    QString current;
    bool inSection = false;
};

} // namespace monitor
