#pragma once

#include "text/Problems.h"

#include <QtCore/QHash>

#include <optional>

namespace monitor
{

/// Reads a number in the notation of CiA 306: hexadecimal after 0x, octal after any other leading
/// 0, otherwise decimal; or the sum of such a number and $NODEID, in either order, which stands for
/// \a node. Case, blanks around the parts, and a comment after ";" are ignored. Empty if \a text is
/// anything else or the number does not fit into 32 bits.
std::optional<quint32> readEdsNumber(const QString& text, quint8 node);

/// One "key=value" of an EDS or DCF.
struct EdsEntry {
    QString value;
    qint64 line = 0; ///< the line number in the file; 0 if there is no such entry
};

/// The sections and entries of an EDS or DCF (CiA 306), read line by line. Case does not matter in
/// section names and keys, nor do leading zeros of the index and sub-index, as in "[1A00sub01]".
/// Invalid lines are reported as problems, and the rest is used. If an entry occurs twice in a
/// section, the first one is used. This class is reentrant.
class EdsFile
{
public:
    /// Reads the line of that \a number, counted from 1.
    void readLine(qint64 number, const QByteArray& line, Problems& problems);

    /// The entry \a key in \a section, both in lower case; empty if it does not exist.
    EdsEntry entry(const QString& section, const QString& key) const;

    bool hasSection(const QString& section) const { return sections.contains(section); }

    /// The number of sections with this ParameterName.
    int sectionsNamed(const QString& parameterName) const { return names.value(parameterName); }

    /// The number of sections of the object at \a index with this ParameterName.
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
