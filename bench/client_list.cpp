// The client list with many clients: how long the window is held up by what happens to it.
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "foundation/MainThread.h"
#include "foundation/VLUserDefaults.h"
#include "widgets/SearchField.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

class Client : public VLService {
public:
    explicit Client(int number)
        : m_address(QStringLiteral("10.1.%1.%2").arg(number / 250).arg(number % 250)) {
        setName(QStringLiteral("Edit Bay %1").arg(number));
        setHostName(QStringLiteral("edit-bay-%1.local.").arg(number));
        m_isConnected = true;
    }
    [[nodiscard]] QString ipAddress() const override { return m_address; }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void change() { m_isProcessing = !m_isProcessing; }

private:
    QString m_address;
};

class Bench {
public:
    explicit Bench(int count) : m_count(count) {
        for (int i = 0; i < count; ++i)
            m_clients.push_back(std::make_shared<Client>(i * 7919 % count));  // no order
    }

    void run() {
        std::printf("%d clients\n", m_count);
        m_outline.resize(260, 800);
        m_outline.show();
        settle();
        measure("first fill: all arrive one after the other", [this] {
            for (const auto& client : m_clients)
                m_list.addServiceToList(client);
        });
        measure("a window opens on the full list", [this] {
            ClientOutline another(m_list);
            another.resize(260, 800);
            another.show();
            another.grab();
        });
        measure("one client more", [this] { m_list.addServiceToList(std::make_shared<Client>(m_count)); });
        measure("one client changes", [this] {
            m_clients.front()->change();
            m_list.serviceChanged(nullptr);
        });
        measure("every client changes", [this] {
            for (const auto& client : m_clients)
                client->change();
            m_list.serviceChanged(nullptr);
        });
        m_outline.setSorting(QStringLiteral("state"), Qt::AscendingOrder);
        settle();
        measure("every second client changes, sorted by state", [this] {
            for (size_t i = 0; i < m_clients.size(); i += 2)
                m_clients[i]->change();
            m_list.serviceChanged(nullptr);
        });
        measure("sorted by address",
                [this] { m_outline.setSorting(QStringLiteral("address"), Qt::DescendingOrder); });
        measure("sorted by name",
                [this] { m_outline.setSorting(QStringLiteral("name"), Qt::AscendingOrder); });
        measure("filter: one key, most go",
                [this] { m_outline.searchField()->setText(QStringLiteral("bay 1")); });
        measure("filter: one key more",
                [this] { m_outline.searchField()->setText(QStringLiteral("bay 17")); });
        measure("filter emptied", [this] { m_outline.searchField()->clear(); });
        measure("all selected, machine by machine",
                [this] { m_list.setSelectedServices(m_list.serviceArray()); });
        measure("filter while all are selected",
                [this] { m_outline.searchField()->setText(QStringLiteral("7.local")); });
        measure("filter emptied", [this] { m_outline.searchField()->clear(); });
        const VLServiceGroupPtr group = m_list.addGroup(QStringLiteral("Group"));
        settle();
        measure("half of them into a group", [&] {
            m_list.moveToGroup({m_clients.begin(), m_clients.begin() + m_count / 2}, group);
        });
        QScrollBar* bar = m_outline.view()->verticalScrollBar();
        int step = 0;
        measure(
            "scrolling by a page, painted",
            [&] {
                bar->setValue(bar->value() + bar->pageStep() * (++step % 20 == 0 ? -19 : 1));
                m_outline.grab();
            },
            40);
    }

private:
    void settle() {
        QElapsedTimer timer;
        timer.start();
        // What was gathered is due after 30 ms.
        while (timer.elapsed() < 60)
            QApplication::processEvents();
    }
    /// The time in which events don't come through: that of the action and of the longest turn after it.
    void measure(const char* what, const std::function<void()>& action, int rounds = 1) {
        std::vector<qint64> times;
        for (int round = 0; round < rounds; ++round) {
            QElapsedTimer timer, whole;
            timer.start();
            action();
            const qint64 first = timer.nsecsElapsed();
            qint64 longest = 0;
            whole.start();
            while (whole.elapsed() < 60) {
                timer.restart();
                QApplication::processEvents();
                longest = std::max(longest, timer.nsecsElapsed());
            }
            times.push_back(std::max(first, longest) / 1000);
        }
        std::sort(times.begin(), times.end());
        std::printf("  %-48s %9lld us\n", what, static_cast<long long>(times[times.size() / 2]));
    }

    const int m_count;
    ServiceList m_list;
    ClientOutline m_outline{m_list};
    std::vector<std::shared_ptr<Client>> m_clients;
};

}  // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QTemporaryDir folder;
    VLUserDefaults::setStandardPath(folder.filePath(QStringLiteral("defaults.plist")));
    MainThread::adopt();
    applyTheme(Theme::Light);
    for (const int count : {1'000, 10'000})
        Bench(count).run();
    return 0;
}
