#pragma once

#include "clients/VLService.h"

#include <QCoreApplication>
#include <QImage>
#include <QList>
#include <QString>
#include <QVariant>

/// What is known of a client, for people: its record and what its agent tells about it. A plain value.
struct ClientInfo {
    enum Form { Text, FixedPitch };
    struct Row {
        QString title;
        QString value;
        Form form = Text;
        bool startsSection = false;
    };
    /// The same rows in the same order, and behind them those of what the agent tells about the machine. All
    /// texts are plain, and may hold what agents chose.
    QList<Row> rows;

    /// `group`: the one that holds the client; empty for none. `machine`: the agent's "systemSpecs", whatever
    /// they are; empty while they are not known. Reads the pinned certificate from disk.
    [[nodiscard]] static ClientInfo of(const VLService& service, const QString& group,
                                       const QVariantMap& machine = {});
    /// One line per row, for the clipboard.
    [[nodiscard]] QString asText() const;

    static constexpr int largePictureSide = 256;
    /// The largest picture of the machine: the one that its agent has `sent`, else that of its model, else
    /// the small one. Any thread.
    [[nodiscard]] static QImage largePicture(const VLService& service, const QByteArray& sent);
    Q_DECLARE_TR_FUNCTIONS(ClientInfo)
};
