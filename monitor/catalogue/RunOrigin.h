#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <map>
#include <set>
#include <utility>

namespace monitor
{

/// The versions of the program and the descriptions with which the statistics of a run were
/// computed, and the labels that the user gave it.
struct RunOrigin {
    std::map<QString, QString> labels;                     ///< such as vehicle and 17
    std::set<QString> programs;                            ///< versions of this program
    std::set<std::pair<QString, QByteArray>> descriptions; ///< names of files, and their SHA-256

    /// Adds the origin of a run that is merged with this one. Only labels that both have remain.
    void merge(const RunOrigin& other)
    {
        for (auto label = labels.begin(); label != labels.end();) {
            const auto same = other.labels.find(label->first);
            const bool isShared = same != other.labels.end() && same->second == label->second;
            label = isShared ? std::next(label) : labels.erase(label);
        }
        programs.insert(other.programs.begin(), other.programs.end());
        descriptions.insert(other.descriptions.begin(), other.descriptions.end());
    }
};

} // namespace monitor
