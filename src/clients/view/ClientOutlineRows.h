#pragma once

#include "clients/view/ClientOutlineModel.h"

#include <QHostAddress>

/// A machine: what its rows show, and where they are.
struct ClientOutlineModel::Row {
    VLServicePtr service;
    QString name, hostName, address, model;
    ClientState state;
    bool spinning = false, maintenance = false;
    int errors = 0;
    qlonglong updates = 0;
    QImage picture;
    [[nodiscard]] bool looksLike(const Row& other) const;

    void derive();
    QString searchText;
    quint32 addressNumber = 0;  ///< for sorting; 0 for what is no IPv4 address

    static constexpr int nowhere = -1;
    int placeInAll = nowhere, placeInGroup = nowhere;
    const Section* group = nullptr;  ///< the one that shows it; null while none does
    quint64 generation = 0;
    int wantedPlace = nowhere;  ///< while rows are arranged
    bool matches = true;        ///< the filter
    bool changed = false;       ///< since the last signal
};

/// A row at the top and the machines shown below it.
struct ClientOutlineModel::Section {
    VLServiceGroupPtr group;  ///< null for "All Computers"
    quintptr id = 0;          ///< in the indexes of its machines; never used again
    int position = 0;
    QString name;
    qsizetype count = 0, absentCount = 0;
    Rows rows;
};
