#include "BusDialog.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>

#include <algorithm>
#include <utility>

namespace monitor
{

namespace
{

/// The filter of file dialogs: "Descriptions (*.dbc *.eds *.dcf)".
QString descriptionFilter()
{
    QStringList patterns;
    for (const DescriptionReader& reader : descriptionReaders()) {
        for (const QString& ending : reader.endings)
            patterns += QStringLiteral("*.") + ending;
    }
    patterns.removeDuplicates();
    return QStringLiteral("Descriptions (%1);;All files (*)").arg(patterns.join(' '));
}

} // namespace

const DescriptionReader& readerOf(const QString& fileName)
{
    const QString ending = QFileInfo(fileName).suffix().toLower();
    const QVector<DescriptionReader>& readers = descriptionReaders();
    const auto found =
        std::find_if(readers.cbegin(), readers.cend(), [&ending](const DescriptionReader& reader) {
            return reader.endings.contains(ending);
        });
    return found == readers.cend() ? readers.constFirst() : *found;
}

BusDialog::BusDialog(const QStringList& plugins, FindInterfaces find, const BusChoice& initial,
                     bool needsDescription)
    : findInterfaces(std::move(find)),
      isDescriptionNeeded(needsDescription),
      plugin(new QComboBox),
      device(new QComboBox),
      description(new QLineEdit(initial.description)),
      node(new QSpinBox),
      message(new QLabel),
      buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel))
{
    constexpr int lastNode = 127;
    setWindowTitle(QStringLiteral("Watch a bus - vantrel"));
    plugin->addItems(plugins);
    plugin->setCurrentIndex(std::max(0, plugin->findText(initial.plugin)));
    device->setEditable(true);
    node->setRange(1, lastNode);
    node->setValue(initial.node);
    message->setObjectName(QStringLiteral("message"));
    message->setTextFormat(Qt::PlainText);
    message->setWordWrap(true);
    layOut();
    connect(plugin, &QComboBox::currentTextChanged, this, [this] { offerInterfaces(); });
    connect(device, &QComboBox::editTextChanged, this, [this] { updateState(); });
    connect(description, &QLineEdit::textChanged, this, [this] { updateState(); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    offerInterfaces();
    if (!initial.device.isEmpty())
        device->setEditText(initial.device);
    updateState();
}

bool BusDialog::ask(const QString& error)
{
    message->setText(error);
    message->setVisible(!error.isEmpty());
    adjustSize();
    return exec() == Accepted;
}

BusChoice BusDialog::choice() const
{
    return {plugin->currentText(), device->currentText().trimmed(), description->text(),
            static_cast<quint8>(node->value())};
}

void BusDialog::layOut()
{
    constexpr int comfortableWidth = 420;
    auto* const file = new QHBoxLayout;
    auto* const browsing = new QPushButton(QStringLiteral("Browse..."));
    connect(browsing, &QPushButton::clicked, this, [this] { browse(); });
    file->addWidget(description);
    file->addWidget(browsing);
    auto* const form = new QFormLayout(this);
    form->addRow(message);
    form->addRow(QStringLiteral("&Plugin"), plugin);
    form->addRow(QStringLiteral("&Interface"), device);
    auto* const label = new QLabel(QStringLiteral("&Description"));
    label->setBuddy(description);
    form->addRow(label, file);
    form->addRow(QStringLiteral("CANopen &node"), node);
    form->addRow(buttons);
    description->setMinimumWidth(comfortableWidth);
    description->setPlaceholderText(QStringLiteral("A DBC, EDS or DCF file"));
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("Watch"));
}

void BusDialog::offerInterfaces()
{
    device->clear();
    device->addItems(findInterfaces(plugin->currentText()));
    updateState();
}

void BusDialog::browse()
{
    const QString fileName =
        QFileDialog::getOpenFileName(this, QStringLiteral("Description"),
                                     QFileInfo(description->text()).path(), descriptionFilter());
    if (!fileName.isEmpty())
        description->setText(fileName);
}

void BusDialog::updateState()
{
    const BusChoice chosen = choice();
    const bool hasDescription = !chosen.description.isEmpty();
    node->setEnabled(hasDescription && readerOf(chosen.description).needsNode);
    buttons->button(QDialogButtonBox::Ok)
        ->setEnabled(!chosen.plugin.isEmpty() && !chosen.device.isEmpty() &&
                     (hasDescription || !isDescriptionNeeded));
}

} // namespace monitor
