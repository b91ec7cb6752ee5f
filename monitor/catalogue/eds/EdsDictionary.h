#pragma once

#include "EdsFile.h"

namespace monitor
{

/// One entry of an object dictionary: an object, or a sub-index of it.
struct EdsObject {
    QString name;
    EdsEntry datatype; ///< the code, as in the file
    EdsEntry value;    ///< as in the file; empty if not given
};

/// The object dictionary that an EDS or DCF describes. This class is reentrant.
class EdsDictionary
{
public:
    explicit EdsDictionary(EdsFile edsFile) : file(std::move(edsFile)) {}

    /// The object at \a index and \a subIndex, if the file describes it, in a section of its own or
    /// by CompactSubObj. The value is that of the device (ParameterValue), else the default one. A
    /// name that occurs several times is made unique: the name of its object precedes it, and the
    /// sub-index follows.
    std::optional<EdsObject> object(quint32 index, quint32 subIndex) const;

private:
    QString nameOf(quint32 index) const;
    EdsObject described(const QString& section) const;
    std::optional<EdsObject> compactObject(quint32 index, quint32 subIndex) const;

    EdsFile file;
};

} // namespace monitor
