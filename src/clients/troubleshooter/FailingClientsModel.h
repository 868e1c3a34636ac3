#pragma once

#include "clients/troubleshooter/ConnectionProblem.h"

#include <QAbstractListModel>

#include <unordered_map>
#include <vector>

/// The clients that something is wrong with, sorted by name. A client that stays in it keeps its row's
/// identity, so that a selection outlives every renewal. Main thread.
class FailingClientsModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        ServiceRole = Qt::UserRole,  ///< VLServicePtr
        KindRole,                    ///< ConnectionProblem::Kind
        ProblemRole,                 ///< the problem's title
        TryingRole,                  ///< an attempt is under way
    };
    using QAbstractListModel::QAbstractListModel;

    /// Shows those of `services` that fail.
    void setServices(const QList<VLServicePtr>& services);
    [[nodiscard]] VLServicePtr serviceAt(const QModelIndex& index) const;
    [[nodiscard]] QModelIndex indexOf(const VLServicePtr& service) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    struct Row {
        VLServicePtr service;
        QString name;
        ConnectionProblem::Kind kind = ConnectionProblem::None;
        bool trying = false;
        bool operator==(const Row&) const = default;
    };
    [[nodiscard]] static std::vector<Row> failing(const QList<VLServicePtr>& services);
    using Places = std::unordered_map<const VLService*, std::size_t>;
    void removeMissing(const Places& wanted);
    void insertNew(const std::vector<Row>& wanted);
    template <typename Before>
    void reorder(Before before);
    void takeContents(std::vector<Row> wanted);

    std::vector<Row> m_rows;
};
