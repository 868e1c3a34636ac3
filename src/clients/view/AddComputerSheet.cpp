#include "clients/view/AddComputerSheet.h"

#include "desktop/VLAlert.h"
#include "widgets/Theme.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

AddComputerSheet::AddComputerSheet(Submit submit, QWidget* parent)
    : Sheet(tr("Add Computer"),
            tr("Computers on this network appear by themselves. Enter one here that does not: "
               "its client agent must be running."),
            parent),
      m_submit(std::move(submit)) {
    setObjectName(QStringLiteral("addComputerSheet"));
    addField(Name, tr("Name"), tr("Edit Bay 5"), tr("As it should be listed"),
             tr("A name has 1 to 255 characters"));
    addField(Address, tr("Address"), QStringLiteral("192.168.1.25"), tr("IPv4 address, or “localhost”"),
             tr("Four numbers with dots and no leading zeros, or “localhost”"));
    addField(Port, tr("Port"), tr("1025 to 65535"), tr("The TCP port of its client agent, usually 5473"),
             tr("A number from 1025 to 65535"));
    body()->setSpacing(Metrics::unit / 2);
    addCancelButton();
    m_addButton = addPrimaryButton(tr("Add"));
    m_addButton->setObjectName(QStringLiteral("addButton"));
    setMinimumWidth(440);
    m_fields[Port].edit->setText(QStringLiteral("5473"));
    updateHints();
    m_fields[Name].edit->setFocus();
}

AddComputerSheet::AddComputerSheet(const ManualConnections::Entry& entry, Submit submit, QWidget* parent)
    : AddComputerSheet(std::move(submit), parent) {
    setHeading(tr("Edit Computer"));
    m_addButton->setText(tr("Save"));
    m_fields[Name].edit->setText(entry.name);
    m_fields[Address].edit->setText(entry.ip);
    m_fields[Port].edit->setText(QString::number(entry.port));
    m_fields[Name].edit->selectAll();
}

void AddComputerSheet::addField(FieldIndex index, const QString& label, const QString& placeholder,
                                const QString& advice, const QString& complaint) {
    static constexpr std::array names{"connectionNameText", "connectionIPAddressText", "connectionPortText"};
    Field& field = m_fields[index];
    field.edit = new QLineEdit(this);
    field.edit->setObjectName(QLatin1String(names[index]));
    field.edit->setPlaceholderText(placeholder);
    field.edit->setAccessibleName(label);
    field.hint = new QLabel(this);
    field.hint->setFont(themeFont(0.9));
    field.hint->setWordWrap(true);
    field.hint->setIndent(1);
    field.advice = advice;
    field.complaint = complaint;

    auto* caption = new QLabel(label, this);
    caption->setFont(themeFont(0.95, QFont::Medium));
    caption->setBuddy(field.edit);
    body()->addWidget(caption);
    body()->addWidget(field.edit);
    body()->addWidget(field.hint);
    if (index != Port) body()->addSpacing(Metrics::unit);

    connect(field.edit, &QLineEdit::textChanged, this, &AddComputerSheet::updateHints);
    // A field is done with when it is left, or when the user goes on in another one.
    connect(field.edit, &QLineEdit::editingFinished, this, [this, index] { markTouched(index); });
    connect(field.edit, &QLineEdit::textEdited, this, [this, index] {
        for (int other = 0; other < FieldCount; ++other) {
            if (other != index) markTouched(FieldIndex(other));
        }
    });
}

void AddComputerSheet::markTouched(FieldIndex index) {
    m_fields[index].touched = !text(index).isEmpty();
    updateHints();
}

QString AddComputerSheet::text(FieldIndex index) const {
    return m_fields[index].edit->text();
}

/// One field alone: the rule for all of them, with the others known to be right.
bool AddComputerSheet::isValid(FieldIndex index) const {
    const auto value = [&](FieldIndex field, const char* good) {
        return field == index ? text(field) : QString::fromLatin1(good);
    };
    return ManualConnections::validateManualConnectionSettings(
        value(Name, "name"), value(Address, "localhost"), value(Port, "2000"));
}

bool AddComputerSheet::isValid() const {
    return ManualConnections::validateManualConnectionSettings(text(Name), text(Address), text(Port));
}

void AddComputerSheet::updateHints() {
    for (int i = 0; i < FieldCount; ++i) {
        Field& field = m_fields[size_t(i)];
        const bool wrong = field.touched && !isValid(FieldIndex(i));
        field.hint->setText(wrong ? field.complaint : field.advice);
        QPalette colors = field.hint->palette();
        colors.setColor(QPalette::WindowText, wrong ? themeColors().bad : themeColors().secondaryText);
        field.hint->setPalette(colors);
        field.edit->setAccessibleDescription(field.hint->text());
    }
    if (m_addButton) m_addButton->setEnabled(isValid());
}

void AddComputerSheet::accept() {
    if (!isValid()) return;
    ManualConnections::Entry entry;
    entry.name = text(Name);
    entry.ip = text(Address);
    entry.port = text(Port).toInt();
    if (m_submit(entry)) {
        Sheet::accept();
        return;
    }
    VLAlert::alertSheetWithMessageText(tr("Connection already exists"), {}, {}, {},
                                       tr("There is already a service with this IP address and port."), this,
                                       false);
}
