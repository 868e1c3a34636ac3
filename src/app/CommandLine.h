#pragma once

#include "clients/ManualConnections.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

/// What the program was asked to do.
struct CommandLine {
    enum class Action {
        Run,
        ShowHelp,
        ShowVersion,
        PrintCertificate,
        ExportCertificate,
        PrintDiscovery,
        Fail
    };
    enum class Palette { Desktop, Light, Dark };

    Action action = Action::Run;
    QString text;             ///< of ShowHelp, or why it failed
    QString certificateFile;  ///< of ExportCertificate

    QString reportTool;      ///< empty: no report
    QString screenshotFile;  ///< empty: no picture
    QString visibleTool;     ///< shown first
    int expectedClients = 0;
    std::chrono::seconds wait{15};
    QList<ManualConnections::Entry> addedClients;  ///< for this run only
    bool browses = true;
    Palette palette = Palette::Desktop;

    /// A run that nobody sits at.
    [[nodiscard]] bool isUnattended() const { return !reportTool.isEmpty() || !screenshotFile.isEmpty(); }
    [[nodiscard]] bool needsWindow() const { return reportTool.isEmpty() || !screenshotFile.isEmpty(); }

    /// `arguments` with the program's name first; `tools` are the identifiers that may be named, and those of
    /// them that can make a report.
    [[nodiscard]] static CommandLine parse(const QStringList& arguments, const QStringList& tools,
                                           const QStringList& reportingTools);
};

/// NAME=ADDRESS:PORT; nothing when it is not of that form.
[[nodiscard]] std::optional<ManualConnections::Entry> clientFromText(const QString& text);
