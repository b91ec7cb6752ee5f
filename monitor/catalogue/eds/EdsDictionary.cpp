#include "EdsDictionary.h"

namespace monitor
{

namespace
{

constexpr char nameKey[] = "parametername";
constexpr char datatypeKey[] = "datatype";

} // namespace

std::optional<EdsObject> EdsDictionary::object(quint32 index, quint32 subIndex) const
{
    const QString parent = EdsFile::sectionOf(index);
    const QString section = EdsFile::sectionOf(index, subIndex);
    if (!file.hasSection(section)) {
        auto compact = compactObject(index, subIndex);
        const bool isVariable =
            subIndex == 0 && file.entry(parent, QLatin1String(datatypeKey)).line > 0;
        if (compact || !isVariable)
            return compact;
        EdsObject variable = described(parent);
        variable.name = nameOf(index);
        return variable;
    }
    EdsObject found = described(section);
    if (file.sectionsNamed(index, found.name) > 1)
        found.name += ' ' + QString::number(subIndex);
    if (file.sectionsNamed(file.entry(section, QLatin1String(nameKey)).value) > 1)
        found.name = nameOf(index) + '.' + found.name;
    return found;
}

/// The name of an object, followed by its index if several objects have that name.
QString EdsDictionary::nameOf(quint32 index) const
{
    const QString section = EdsFile::sectionOf(index);
    const QString name = file.entry(section, QLatin1String(nameKey)).value;
    const bool isUnique = file.sectionsNamed(name) <= 1 || name.isEmpty();
    return isUnique ? described(section).name : name + ' ' + section;
}

EdsObject EdsDictionary::described(const QString& section) const
{
    EdsObject found;
    found.name = file.entry(section, QLatin1String(nameKey)).value;
    found.datatype = file.entry(section, QLatin1String(datatypeKey));
    found.value = file.entry(section, QStringLiteral("parametervalue"));
    if (found.value.value.isEmpty())
        found.value = file.entry(section, QStringLiteral("defaultvalue"));
    if (found.name.isEmpty())
        found.name = section;
    return found;
}

// CiA 306: with CompactSubObj=n, the sub-indices 1 to n have the same description, and sub-index 0
// holds n. [1A00Name] and [1A00Value] give individual names and values by decimal sub-index.
std::optional<EdsObject> EdsDictionary::compactObject(quint32 index, quint32 subIndex) const
{
    const QString parent = EdsFile::sectionOf(index);
    const EdsEntry compact = file.entry(parent, QStringLiteral("compactsubobj"));
    const quint32 last = readEdsNumber(compact.value, 0).value_or(0);
    if (last == 0 || subIndex > last)
        return std::nullopt;
    EdsObject found = described(parent);
    if (subIndex == 0) {
        found.datatype = {QStringLiteral("0x0005"), compact.line};
        found.value = compact;
        return found;
    }
    const QString key = QString::number(subIndex);
    const EdsEntry name = file.entry(parent + QStringLiteral("name"), key);
    const EdsEntry value = file.entry(parent + QStringLiteral("value"), key);
    found.name = nameOf(index) + '.' + (name.value.isEmpty() ? key : name.value);
    if (!value.value.isEmpty())
        found.value = value;
    return found;
}

} // namespace monitor
