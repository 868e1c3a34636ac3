#pragma once

#include <QSet>
#include <QStringList>

class QTreeView;

/// What is expanded, selected and in view in an outline of two levels, by the rows' own keys, so that it can
/// be brought back after the rows were replaced. Rows that are gone are skipped.
class OutlineState {
public:
    /// `keyRole` gives a text that names a row among its siblings.
    [[nodiscard]] static OutlineState of(const QTreeView& view, int keyRole);
    void restore(QTreeView& view, int keyRole) const;

private:
    QSet<QString> m_expanded;
    QSet<QStringList> m_selected;
    QStringList m_current;
    QString m_top;  ///< the first row in view
};
