#pragma once

#include "agent/AgentRoot.h"
#include "agent/sample/SampleTree.h"
#include "base/PropertyList.h"
#include "support/TestFiles.h"
#include "system/VLException.h"

#include <QTemporaryDir>

/// Where nothing waits for a disk.
inline QString quickFolder() {
    const QString memory = QStringLiteral("/dev/shm");
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) + QStringLiteral("/corvalin-XXXXXX");
}

/// A console that keeps what an agent last told it of a refusal: the code of an error or the reason.
struct RefusalListener : VLRemoteCallback {
    void post(const QString&, const QVariantList& arguments) override {
        const QVariant& told = arguments.first();
        reason = told.toMap().value(QStringLiteral("code")).toString() + told.toString();
        about = arguments.last().toMap();
    }
    QVariant perform(const QString&, const QVariantList&, std::chrono::milliseconds) override { return {}; }
    [[nodiscard]] bool isConnected() const override { return true; }

    /// What it hears of one call of connection 1; empty when there is nothing to say. An agent that raises
    /// loses its console.
    [[nodiscard]] QString heardOf(AgentRoot& agent, const QString& selector, const QVariantList& arguments) {
        reason.clear();
        about.clear();
        try {
            agent.perform(selector, arguments, 1);
        } catch (const VLException& error) {
            const QString code = error.userInfo().value(QStringLiteral("code")).toString();
            return QStringLiteral("Raised: ") + error.reason() + (code.isEmpty() ? QString() : u' ' + code);
        }
        const bool isMarked = about.value(QStringLiteral("refused")).toInt() == 1 &&
                              about.value(QStringLiteral("operation")) == selector;
        return reason.isEmpty() || isMarked ? reason : QStringLiteral("Not marked: ") + reason;
    }

private:
    QString reason;
    QVariantMap about;
};

/// A sample workstation with its agent, without the network, and a console that hears of refusals.
class SampleAgent {
public:
    explicit SampleAgent(int profile) {
        SampleTree::make(m_folder.path(), profile);
        AgentSettings settings;
        QString error;
        settings.apply(PropertyList::readFile(m_folder.filePath(QStringLiteral("agent.conf"))).toMap(),
                       m_folder.path(), &error);
        settings.complete();
        m_agent = std::make_shared<AgentContext>(settings);
        m_root = std::make_unique<AgentRoot>(m_agent);
        perform(QStringLiteral("setErrorCallback:"), {QVariant::fromValue<VLRemoteCallbackPtr>(m_console)});
    }
    QVariant perform(const QString& selector, const QVariantList& arguments = {}) const {
        return m_root->perform(selector, arguments, 1);
    }
    /// What the console hears, see RefusalListener::heardOf.
    [[nodiscard]] QString refusal(const QString& selector, const QVariantList& arguments) const {
        return m_console->heardOf(*m_root, selector, arguments);
    }
    /// A file of the workstation, by its path there.
    [[nodiscard]] QString disk(const QString& path) const {
        return m_folder.filePath(QStringLiteral("disk")) + path;
    }
    [[nodiscard]] const WorkstationTree& tree() const { return m_agent->tree; }

private:
    QTemporaryDir m_folder{quickFolder()};
    std::shared_ptr<RefusalListener> m_console = std::make_shared<RefusalListener>();
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;
};
