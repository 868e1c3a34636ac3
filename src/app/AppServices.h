#pragma once

#include <QString>
#include <QUrl>
#include <QVariant>

#include <chrono>
#include <functional>

/// What the controller asks of parts of the console that are made elsewhere. Each stands here under the name
/// of what it does; one that is not built yet says so in the log where it would have acted.
struct AppServices {
    /// The console's crash reporter, around the whole run. Called before the log is open; true when it runs.
    std::function<bool()> startFaultpost;
    std::function<void()> stopFaultpost;
    /// Asks for a local administrator. Blocks; false when that was refused or cannot be asked.
    std::function<bool()> authStart;
    /// Whether authStart() can ask anybody at all.
    bool canAuthenticate = false;
    /// How often a worker looks whether the sheet that asks for a client's administrator was answered.
    std::chrono::milliseconds authLookInterval{1'000};
    /// Whether this version can; while it can't, nothing about it is offered.
    static constexpr bool looksForUpdatesToSelf = false;
    /// Looks for a newer version of the console; false when that was not possible. Blocks; runs on a worker.
    std::function<bool()> checkForUpdatesToSelf;
    /// Posts the fields to that address, with its progress over `window` (not owned). Empty in a version that
    /// cannot upload. Main thread; returns at once.
    std::function<void(const QUrl& address, const QVariantMap& fields, QObject* window)> uploadErrorLog;

    /// The parts that this version has.
    [[nodiscard]] static AppServices standard();
};
