// The activity file with 100,000 runs on 50 computers each: writing, opening, listing, filtering, pruning.
#include "base/VLLocalPaths.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "runs/ActivityModel.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUuid>

#include <algorithm>
#include <cstdio>

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 10min;

/// Every seventh run fails on a computer, every third one changes something and can be taken back.
RunRecord sampleRun(int number, int computers, const QDateTime& start) {
    const QStringList tools{QStringLiteral("addonry"), QStringLiteral("cronwell"),
                            QStringLiteral("settlekeep")};
    RunRecord run;
    run.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    run.started = start.addSecs(number * 300LL);
    run.ended = run.started.addSecs(2);
    run.user = QStringLiteral("anna");
    run.tool = tools.at(number % 3);
    run.action = number % 3 == 0 ? QStringLiteral("Disable") : QStringLiteral("Refresh");
    run.actionDone = number % 3 == 0 ? QStringLiteral("Disabled") : QStringLiteral("Refreshed");
    run.subject = QStringLiteral("Plug-in %1").arg(number % 500);
    run.isChange = number % 3 == 0;
    for (int host = 0; host < computers; ++host) {
        HostOutcome outcome{QStringLiteral("edit-bay-%1.local.").arg(host),
                            QStringLiteral("Edit Bay %1").arg(host),
                            {run.isChange ? Outcome::Done : Outcome::Answered, {}},
                            {}};
        if (number % 7 == 0 && host == number % computers)
            outcome.outcome = {Outcome::Failed, QStringLiteral("The plug-in folder could not be read")};
        else if (run.isChange && host < 2)
            outcome.undo = {{QStringLiteral("path"), QStringLiteral("/Library/Plug-Ins/Film Grain.plugin")},
                            {QStringLiteral("disabled"), false}};
        run.outcomes << outcome;
    }
    return run;
}

double milliseconds(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}

void print(const QString& what, double value, const char* unit) {
    std::printf("%-62s %10.1f %s\n", qPrintable(what), value, unit);
    std::fflush(stdout);
}

class Bench {
public:
    Bench(const QString& path, int runs, int computers)
        : m_path(path), m_runs(runs), m_computers(computers) {}

    void run() {
        write();
        m_store = std::make_unique<ActivityStore>(m_path, [this] { return m_limits; });
        openAndShow();
        for (const auto& [name, filter] : filters())
            show(name, filter);
        show(QStringLiteral("no filter again"), {});
        scroll();
        addWhileShown();
        m_model.reset();
        prune();
        m_store->close();
    }

private:
    void write() {
        const QDateTime start = QDateTime::currentDateTimeUtc().addSecs(-m_runs * 300LL);
        ActivityStore store(m_path, [this] { return m_limits; });
        QElapsedTimer timer;
        timer.start();
        double inAdd = 0;
        for (int number = 0; number < m_runs; ++number) {
            RunRecord run = sampleRun(number, m_computers, start);
            QElapsedTimer adding;
            adding.start();
            store.add(std::move(run));
            inAdd = std::max(inAdd, milliseconds(adding));
            if (number % 500 == 499) store.flush(patience);  // the queue is bounded
        }
        store.flush(patience);
        print(QStringLiteral("write"), m_runs * 1000.0 / milliseconds(timer), "runs/s");
        print(QStringLiteral("the longest that a caller was held up"), inAdd, "ms");
        store.close();
        VLThread::joinAll(patience);
        print(QStringLiteral("size of the file"), double(QFileInfo(m_path).size()) / (1 << 20), "MB");
    }

    /// Waits until the rows belong to the filter, and says how long a turn of the event loop took at most.
    double waitForRows() {
        double longest = 0;
        bool isLoaded = false;
        const auto connection =
            QObject::connect(m_model.get(), &ActivityModel::loaded, [&] { isLoaded = true; });
        while (!isLoaded) {
            QElapsedTimer turn;
            turn.start();
            QCoreApplication::processEvents(QEventLoop::AllEvents);
            longest = std::max(longest, milliseconds(turn));
        }
        QObject::disconnect(connection);
        return longest;
    }

    void openAndShow() {
        m_model = std::make_unique<ActivityModel>(*m_store, [](const QString& tool) { return tool; });
        QElapsedTimer timer;
        timer.start();
        m_model->setActive(true);
        waitForRows();
        print(QStringLiteral("open the file and show the first page of %1 rows").arg(m_model->rowCount()),
              milliseconds(timer), "ms");
    }

    [[nodiscard]] static QList<std::pair<QString, ActivityFilter>> filters() {
        ActivityFilter subject, computerText, two, all, computer, failed, failedThere, tool, changes, nothing;
        subject.text = QStringLiteral("plug-in 77");
        computerText.text = QStringLiteral("bay-17");
        two.text = QStringLiteral("disable bay-17");
        all.text = QStringLiteral("bay");
        nothing.text = QStringLiteral("nowhere");
        computer.computer = QStringLiteral("edit-bay-17.local.");
        failed.outcomes = {Outcome::Failed};
        failedThere = computer;
        failedThere.outcomes = failed.outcomes;
        tool.tool = QStringLiteral("cronwell");
        changes.changesOnly = true;
        return {{QStringLiteral("text in the subject"), subject},
                {QStringLiteral("text in the name of a computer"), computerText},
                {QStringLiteral("text in the action, and in the name of a computer"), two},
                {QStringLiteral("text in the names of all computers"), all},
                {QStringLiteral("text that is nowhere"), nothing},
                {QStringLiteral("computer"), computer},
                {QStringLiteral("outcome"), failed},
                {QStringLiteral("computer and outcome"), failedThere},
                {QStringLiteral("tool"), tool},
                {QStringLiteral("changes only"), changes}};
    }

    void show(const QString& name, const ActivityFilter& filter) {
        QElapsedTimer timer;
        timer.start();
        m_model->setFilter(filter);
        const double longest = waitForRows();
        print(QStringLiteral("filter: %1 (%2 rows)").arg(name).arg(m_model->rowCount()), milliseconds(timer),
              "ms");
        m_longest = std::max(m_longest, longest);
    }

    void scroll() {
        const QModelIndex middle = m_model->index(m_model->rowCount() / 2, 0);
        QElapsedTimer timer;
        timer.start();
        while (!middle.data(ActivityModel::IsLoadedRole).toBool()) {
            static_cast<void>(middle.data());
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        }
        print(QStringLiteral("scroll to the middle"), milliseconds(timer), "ms");
    }

    void addWhileShown() {
        const int before = m_model->rowCount();
        QElapsedTimer timer;
        timer.start();
        m_store->add(sampleRun(3, m_computers, QDateTime::currentDateTimeUtc()));
        while (m_model->rowCount() == before) {
            QElapsedTimer turn;
            turn.start();
            QCoreApplication::processEvents(QEventLoop::AllEvents);
            m_longest = std::max(m_longest, milliseconds(turn));
        }
        print(QStringLiteral("a new run is shown after"), milliseconds(timer), "ms");
        print(QStringLiteral("the longest turn of the event loop in all this"), m_longest, "ms");
    }

    void prune() {
        const auto database = ActivityDatabase::open(m_path);
        QElapsedTimer timer;
        timer.start();
        const ActivityLimits half{36'500, QFileInfo(m_path).size() / 2};
        double longest = 0;
        int steps = 0;
        for (bool hasMore = true; hasMore; ++steps) {
            QElapsedTimer step;
            step.start();
            hasMore = database->prune(half);
            longest = std::max(longest, milliseconds(step));
        }
        print(QStringLiteral("prune to half the size, in %1 steps").arg(steps), milliseconds(timer), "ms");
        print(QStringLiteral("the longest step, which is what another writer waits for"), longest, "ms");
        print(QStringLiteral("size of the file then"), double(QFileInfo(m_path).size()) / (1 << 20), "MB");
    }

    const QString m_path;
    const int m_runs, m_computers;
    const ActivityLimits m_limits{36'500, 100LL << 30};
    std::unique_ptr<ActivityStore> m_store;
    std::unique_ptr<ActivityModel> m_model;
    double m_longest = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption runs(QStringLiteral("runs"), QStringLiteral("How many runs."),
                                  QStringLiteral("number"), QStringLiteral("100000"));
    const QCommandLineOption computers(QStringLiteral("computers"), QStringLiteral("How many in each."),
                                       QStringLiteral("number"), QStringLiteral("50"));
    parser.addOptions({runs, computers});
    parser.addHelpOption();
    parser.process(application);
    const QTemporaryDir folder;
    VLLocalPaths::setTestRoot(folder.path());
    MainThread::adopt();
    VLLog::createNewLog();
    Bench(folder.filePath(QStringLiteral("activity.sqlite")), std::max(1, parser.value(runs).toInt()),
          std::max(1, parser.value(computers).toInt()))
        .run();
    VLThread::cancelAll();
    return VLThread::joinAll(patience) ? 0 : 1;
}
