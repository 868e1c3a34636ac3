// What tools do as runs: begun, done again, taken back.
#include "runs/InFlight.h"
#include "tools/Tool.h"

void ToolController::startRun(const QString& name, const Run::Description& description,
                              std::function<void()> work) {
    const QList<VLServicePtr> selected = context().selectedServices();
    startRunOn(name, description, {selected.begin(), selected.end()}, work);
}

void ToolController::startRunOn(const QString& name, Run::Description description,
                                const QList<RemoteClientPtr>& clients, const std::function<void()>& work,
                                const QList<RemoteClientPtr>& alone) {
    description.tool = context().tool;
    RunList& runs = context().progress->runs();
    const RunPtr run = runs.begin(description, clients);
    for (const RemoteClientPtr& client : alone)
        run->noteLeftAlone(*client, tr("it gave no answer, so it was left alone"));
    const auto again = [weak = weak_from_this(), name, description, work,
                        id = run->id()](const QList<RemoteClientPtr>& others) mutable {
        const std::shared_ptr<ToolController> self = weak.lock();
        if (!self) return;
        description.retryOf = id;
        self->startRunOn(name, description, others, work);
    };
    runs.keepRedo(*run, again);
    startWorker(name, [run, work] {
        const RunScope scope(run);
        work();
    });
}

void ToolController::startUndo(const RunRecord& record, const QList<RemoteClientPtr>& clients) {
    QHash<QString, QVariantMap> undoByHost;
    for (const HostOutcome& host : record.outcomes)
        undoByHost.insert(host.hostName, host.undo);
    Run::Description description;
    description.action = tr("Undo “%1”").arg(record.action);
    description.actionDone = tr("Took back “%1”").arg(record.action);
    description.subject = record.subject;
    description.isChange = true;
    description.undoOf = record.id;
    description.keeping = keepingOfUndo();
    const QString name = QStringLiteral("undoRun");
    startRunOn(name, description, clients, [this, name, undoByHost] {
        const RunPtr run = Run::current();
        context().progress->startStatusProgress();
        InFlight::forEach<RemoteClient>(run, name, run->clients(), [&](const RemoteClientPtr& client) {
            const auto service = std::dynamic_pointer_cast<VLService>(client);
            const QVariantMap undo = undoByHost.value(Run::keyOf(*client));
            const Run::Changes changes(client);
            if (!changes) return;
            if (service && !takeBack(service, undo) && !run->outcome(Run::keyOf(*client)))
                run->note(*client, {Outcome::Failed, tr("it could not be taken back")});
            context().progress->incrementStatusProgress();
        });
        context().progress->endStatusProgress();
        startRefresh(name);
    });
}
