#pragma once

#include "clients/VLService.h"

#include <QImage>
#include <QList>
#include <QString>

/// What is known of a client, for people: its record and what its agent tells about it. A plain value.
struct ClientInfo {
    enum Form { Text, FixedPitch };
    struct Row {
        QString title;
        QString value;
        Form form = Text;
        bool startsSection = false;
    };
    /// Always the same rows in the same order. All values are plain text, and may hold what agents chose.
    QList<Row> rows;

    /// `group`: the one that holds the client; empty for none. Reads the pinned certificate from disk.
    [[nodiscard]] static ClientInfo of(const VLService& service, const QString& group);
    /// One line per row, for the clipboard.
    [[nodiscard]] QString asText() const;

    /// The largest picture of the machine: that of its model, else the one that its agent once sent or sends
    /// now, else the small one. Asks the agent, so: on a worker.
    [[nodiscard]] static QImage largePicture(VLService& service);
};
