#pragma once

#include "text/Problems.h"

#include <QtCore/QHash>

namespace monitor
{

/// One "key=value" of an EDS or DCF.
struct EdsEntry {
    QString value;
    qint64 line = 0; ///< where it stands; 0 if there is none
};

/// The sections and entries of an EDS or DCF (CiA 306), read line by line. Letter case of sections
/// and keys does not matter, nor do leading zeros of the index and sub-index in "[1A00sub01]". A
/// line that cannot be understood is a warning, and the rest is used; of two equal entries the
/// first counts. This class is reentrant.
class EdsFile
{
public:
    /// Takes in the line of that \a number, counted from 1.
    void readLine(qint64 number, const QByteArray& line, Problems& problems);

    /// The entry \a key in \a section, both in lower case; an empty one if there is none.
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
