#pragma once

#include <QtCore/QVariant>

/// The base record of a host: as small as allowed, with its own initial values.
class Q_DECL_EXPORT GenericValue
{
public:
    GenericValue();
    float valueToFloat(bool scaled) const;

    QVariant rawValue;
    QVariant scaledValue;
    qint32 valueTag;
    bool isInvalid;
};
