#pragma once

#include "EdsFile.h"

namespace monitor
{

/// One entry of an object dictionary: an object, or a sub-index of one.
struct EdsObject {
    QString name;
    EdsEntry datatype; ///< the code, as written in the file
    EdsEntry value;    ///< as written in the file; empty if not given
};

/// The object dictionary described by an EDS or DCF. This class is reentrant.
class EdsDictionary
{
public:
    explicit EdsDictionary(EdsFile edsFile) : file(std::move(edsFile)) {}

    /// The object at \a index and \a subIndex, if the file describes it, either in its own section
    /// or with CompactSubObj. The value is the ParameterValue, or else the DefaultValue. A name
    /// that is not unique in the file is prefixed with the name of its object, and one that is not
    /// unique within the object is followed by the sub-index.
    std::optional<EdsObject> object(quint32 index, quint32 subIndex) const;

private:
    QString nameOf(quint32 index) const;
    EdsObject described(const QString& section) const;
    std::optional<EdsObject> compactObject(quint32 index, quint32 subIndex) const;

    EdsFile file;
};

} // namespace monitor
