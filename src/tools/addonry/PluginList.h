#pragma once

#include <QList>
#include <QString>
#include <QVariant>

/// An agent's answer to addonryPluginList, made safe to work with: every entry is a dictionary with a "name";
/// "fullPath", "version" and "type" are texts, "disabled" is 0 or 1 and "accessType" an integer wherever they
/// are there, and "moddate" is a date. Nothing else is kept: the rows stay as small as what is shown.
struct PluginList {
    QList<QVariantMap> instances;
    QString complaint;  ///< what was wrong with the answer, in plain words; empty when nothing was

    static constexpr qsizetype maximumEntries = 20'000;

    /// No answer (invalid) is an empty list without a complaint.
    [[nodiscard]] static PluginList fromAnswer(const QVariant& answer);
};
