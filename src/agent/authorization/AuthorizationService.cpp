#include "agent/authorization/AuthorizationService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

namespace {

/// The first arguments of both forms of an authorised task.
struct TaskCall {
    explicit TaskCall(const QVariantList& arguments)
        : task(arguments.at(0).toString()),
          bundleID(arguments.at(1).toString()),
          options(arguments.at(2).toMap()) {}

    QString task, bundleID;
    QVariantMap options;
};

/// The two arguments behind those, of both forms; not kept any longer than the check takes.
void requireAdministrator(AgentContext& agent, const OperationCall& operation) {
    agent.administrators.requireAdministrator(operation.peer, operation.arguments.at(3).toString(),
                                              operation.arguments.at(4).toByteArray());
}

void answer(const VLRemoteCallbackPtr& callback, const QString& output) {
    if (callback)
        callback->post(QStringLiteral("postCallback:"), {QVariantMap{{QStringLiteral("output"), output}}});
}

/// A console waits for the answer, so there is one in every case.
void runAndAnswer(AgentContext& agent, const TaskCall& call, quint64 peer,
                  const VLRemoteCallbackPtr& callback) {
    try {
        answer(callback, agent.tasks.run(peer, call.task, call.bundleID, call.options));
    } catch (const VLException& error) {
        agent.consoles.postFailure(peer, error, agent.hostName.get());
        answer(callback, error.reason());
    }
}

QVariant taskWithCallback(AgentContext& agent, const OperationCall& operation) {
    const TaskCall call(operation.arguments);
    const auto callback = operation.arguments.at(5).value<VLRemoteCallbackPtr>();
    try {
        requireAdministrator(agent, operation);
    } catch (const VLException& error) {
        // A console forgets a password that it could not authorize with; this one may be right.
        answer(callback, error.name() == VLException::refused
                             ? error.reason()
                             : QStringLiteral("Unable to authorize: incorrect username or password."));
        throw;
    }
    // Not here: the console's other operations would wait for the end of the task.
    VLThread::detach(QStringLiteral("authExecuteTask"),
                     [owner = agent.shared_from_this(), call, peer = operation.peer, callback] {
                         runAndAnswer(*owner, call, peer, callback);
                     });
    return {};
}

void addAuthorizedTasks(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("authExecuteTask:bundleID:options:username:password:"),
              [&agent](const OperationCall& operation) {
                  requireAdministrator(agent, operation);
                  const TaskCall call(operation.arguments);
                  static_cast<void>(agent.tasks.run(operation.peer, call.task, call.bundleID, call.options));
                  return QVariant();
              });
    table.add(QStringLiteral("authExecuteTask:bundleID:options:username:password:callback:callbackName:"),
              [&agent](const OperationCall& call) { return taskWithCallback(agent, call); });
}

void addInstalling(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("installVelmoraSoftwareUpdate:settings:"), [&agent](const OperationCall& call) {
        agent.administrators.requireAdministrator(call.peer, call.arguments.at(0));
        const QVariantMap objects = call.arguments.at(1).toMap();
        agent.installUpdate(call.peer, objects.value(QStringLiteral("obj1")).toMap(),
                            objects.value(QStringLiteral("obj2")));
        return QVariant();
    });
}

/// Whoever types passwords, or has them stored, may wonder why it takes so long.
void tellOfBrake(AgentContext& agent, quint64 peer) {
    const QString text = QStringLiteral(
        "Too many wrong administrator passwords were tried on this computer; further ones have to wait.");
    if (!agent.log.take(peer)) return;
    VLLog::appendLog(QStringLiteral("%@ (%@)"), text, agent.consoles.consoleOf(peer));
    agent.consoles.postToCaller(peer, QStringLiteral("addStringToQueue:hostname:"),
                                {text, agent.consoles.hostNameFor(peer)});
}

}  // namespace

void addAuthorizationOperations(OperationTable& table, AgentContext& agent) {
    agent.administrators.setBraked([&agent](quint64 peer) { tellOfBrake(agent, peer); });
    table.add(QStringLiteral("validateUsername:password:"), [&agent](const OperationCall& call) {
        return QVariant(agent.administrators.validate(call.peer, call.arguments.at(0).toString(),
                                                      call.arguments.at(1).toByteArray()));
    });
    if (!agent.tasks.isEmpty()) addAuthorizedTasks(table, agent);
    if (agent.installUpdate) addInstalling(table, agent);
}
