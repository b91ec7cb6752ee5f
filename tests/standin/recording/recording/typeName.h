#pragma once

#include <QtCore/QList>
#include <QtCore/QString>

#include <string>

template <typename N>
std::string typeName() = delete; // not an element type

#define STANDIN_NAME_TYPE(type)                                                                    \
    template <>                                                                                    \
    inline std::string typeName<type>()                                                            \
    {                                                                                              \
        return #type;                                                                              \
    }
STANDIN_NAME_TYPE(double)
STANDIN_NAME_TYPE(unsigned char)
STANDIN_NAME_TYPE(unsigned short)
STANDIN_NAME_TYPE(unsigned int)
STANDIN_NAME_TYPE(unsigned long long)
STANDIN_NAME_TYPE(signed char)
STANDIN_NAME_TYPE(short)
STANDIN_NAME_TYPE(int)
STANDIN_NAME_TYPE(long long)
STANDIN_NAME_TYPE(float)
#undef STANDIN_NAME_TYPE

template <typename N>
std::string textOf(N value)
{
    return QString::number(static_cast<double>(value)).toStdString();
}

template <typename N>
std::string textOf(const QList<N>& values)
{
    std::string text = "[";
    for (N value : values)
        text += (text.size() > 1 ? " " : "") + textOf(value);
    return text + "]";
}
