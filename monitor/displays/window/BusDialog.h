#pragma once

#include "catalogue/readers.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>

#include <functional>

namespace monitor
{

/// The bus that a BusDialog offers, or that was chosen there, and the description of its messages.
struct BusChoice {
    QString plugin;
    QString device;      ///< the name of the interface
    QString description; ///< file name; may be empty
    quint8 node = 1;     ///< of a description that needs one
};

/// Returns the reader for a description file, chosen by the extension of \a fileName. Unknown
/// extensions are left to the first reader.
const DescriptionReader& readerOf(const QString& fileName);

/// The dialog in which the user chooses a bus and a description.
class BusDialog : public QDialog
{
public:
    /// Returns the names of the interfaces that a plugin finds.
    using FindInterfaces = std::function<QStringList(const QString& plugin)>;

    /// Offers \a plugins, and the interfaces found by \a find. If \a needsDescription is true, the
    /// choice cannot be accepted without a description.
    BusDialog(const QStringList& plugins, FindInterfaces find, const BusChoice& initial,
              bool needsDescription);

    /// Shows the dialog with \a error, which may be empty, and waits. Returns false if the user
    /// cancels it.
    [[nodiscard]] bool ask(const QString& error);

    BusChoice choice() const;

private:
    void layOut();
    void offerInterfaces();
    void browse();
    void updateState();

    const FindInterfaces findInterfaces;
    const bool isDescriptionNeeded;
    // Owned by the dialog:
    QComboBox* const plugin;
    QComboBox* const device;
    QLineEdit* const description;
    QSpinBox* const node;
    QLabel* const message;
    QDialogButtonBox* const buttons;
};

} // namespace monitor
