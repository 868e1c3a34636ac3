#pragma once

#include <QIdentityProxyModel>
#include <QList>

/// Shows how runs and computers ended: a symbol of its own shape for each kind of end, before the words, so
/// that nobody has to tell colours apart.
class OutcomeLook : public QIdentityProxyModel {
    Q_OBJECT
public:
    /// `kindRole` gives an Outcome::Kind of a row, or nothing. Columns in `secondary` are dimmed.
    OutcomeLook(int kindRole, int symbolColumn, QList<int> secondary, QObject* parent);
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

private:
    const int m_kindRole, m_symbolColumn;
    const QList<int> m_secondary;
};
