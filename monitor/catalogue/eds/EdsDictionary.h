#pragma once

#include "EdsFile.h"

#include <optional>

namespace monitor
{

/// One entry of an object dictionary: an object, or a sub-index of it.
struct EdsObject {
    QString name;
    EdsEntry datatype; ///< the code, as the file spells it
    EdsEntry value;    ///< as the file spells it; empty if it gives none
};

/// The object dictionary that an EDS or DCF describes. This class is reentrant.
class EdsDictionary
{
public:
    explicit EdsDictionary(EdsFile edsFile) : file(std::move(edsFile)) {}

    /// The object at \a index and \a subIndex, if the file describes it: in a section of its own,
    /// or among those that CompactSubObj sums up. The value is that of the device
    /// (ParameterValue), else the default one. A name that is not clear
    /// has what makes it so: that of the object it belongs to before it, the sub-index behind it.
    std::optional<EdsObject> object(quint32 index, quint32 subIndex) const;

private:
    QString nameOf(quint32 index) const;
    EdsObject described(const QString& section) const;
    std::optional<EdsObject> compactObject(quint32 index, quint32 subIndex) const;

    EdsFile file;
};

} // namespace monitor
