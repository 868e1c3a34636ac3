#pragma once

#include "clients/ManualConnections.h"
#include "widgets/Sheet.h"

#include <array>
#include <functional>

class QLabel;
class QLineEdit;

/// The form for a client that discovery does not find: name, IPv4 address, port. It can be submitted only
/// while every field is right; what is wrong with a field stands below it once it has been touched.
class AddComputerSheet : public Sheet {
    Q_OBJECT
public:
    /// Submits the entry; false when there is one with this address and port.
    using Submit = std::function<bool(const ManualConnections::Entry&)>;
    AddComputerSheet(Submit submit, QWidget* parent);
    /// The same for one that is there already.
    AddComputerSheet(const ManualConnections::Entry& entry, Submit submit, QWidget* parent);

    void accept() override;

private:
    struct Field {
        QLineEdit* edit = nullptr;
        QLabel* hint = nullptr;
        QString advice;     ///< shown while the field is empty or right
        QString complaint;  ///< shown while it is wrong
        bool touched = false;
    };
    enum FieldIndex { Name, Address, Port, FieldCount };
    void addField(FieldIndex index, const QString& label, const QString& placeholder, const QString& advice,
                  const QString& complaint);
    [[nodiscard]] QString text(FieldIndex index) const;
    [[nodiscard]] bool isValid(FieldIndex index) const;
    [[nodiscard]] bool isValid() const;
    void markTouched(FieldIndex index);
    void updateHints();

    Submit m_submit;
    std::array<Field, FieldCount> m_fields;
    QPushButton* m_addButton = nullptr;
};
