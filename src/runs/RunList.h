#pragma once

#include "runs/Run.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <memory>
#include <mutex>

/// The runs under way, and how to repeat those that have ended. begin() and the look-ups are for any thread;
/// signals come on the main thread.
class RunList : public QObject {
    Q_OBJECT
public:
    static constexpr int fewestInFlight = 1, mostInFlight = 256, usuallyInFlight = 64;
    /// Names of the settings: how many operations of a run are under way at once, and whether the computers
    /// that the split over the processors leaves out are worked afterwards.
    static constexpr auto inFlightKey = "runOperationsInFlight", followUpKey = "runFollowUp";

    explicit RunList(QObject* parent = nullptr);
    ~RunList() override;

    /// `userName`: of the person at the console, for the records. `keep` gets the record of every run that
    /// has a name, on the thread that ends it; also of those that end while the program quits.
    void keepRecords(const QString& userName, std::function<void(const RunRecord&)> keep);
    /// A run that begins now; it ends when the last who works for it lets go of it.
    [[nodiscard]] RunPtr begin(Run::Description description, QList<RemoteClientPtr> clients);
    /// The number of the run that was begun last.
    [[nodiscard]] int lastNumber() const;
    /// Those under way, the oldest first.
    [[nodiscard]] QList<RunPtr> active() const;
    /// The one of that number, while it is under way.
    [[nodiscard]] RunPtr active(int number) const;
    void cancelAll();
    /// An agent reports something that went wrong: it belongs to what is under way on its computer.
    void noteReport(const QString& hostName, const Outcome& outcome) const;
    /// The run that something on that computer is about: the one that this thread works for, else what a
    /// report would belong to. Null when there is none.
    [[nodiscard]] RunPtr workOn(const QString& hostName) const;

    /// How to do it again, on some computers. Kept for the runs of this session, as long as there are not
    /// too many.
    using Redo = std::function<void(const QList<RemoteClientPtr>& clients)>;
    void keepRedo(const Run& run, Redo redo);
    /// Null when it is not known.
    [[nodiscard]] Redo redoOf(const QString& id) const;

Q_SIGNALS:
    void changed();                       ///< one began or ended
    void ended(const RunRecord& record);  ///< only of runs that have a name

private:
    [[nodiscard]] QList<RunPtr> concernedBy(const QString& hostName) const;
    static constexpr qsizetype mostRedos = 40;
    struct Shared;
    const std::shared_ptr<Shared> m_shared;  ///< with the runs, which may outlive this object
};
