#include "remote/VLCorvalinServerProtocol.h"

namespace VLCorvalinServerProtocol {
namespace {

QString latin(const char* text) {
    return QString::fromLatin1(text);
}

/// A pipe would end the table cell.
QString cell(QString text) {
    return text.replace(u'|', QLatin1String("\\|"));
}

QString argumentText(const Argument& argument) {
    QString text = QStringLiteral("`%1` %2").arg(latin(argument.name), typeName(argument.type));
    if (argument.passing == Passing::Reference) text += QLatin1String(", by reference");
    if (argument.passing == Passing::Plain) text += QLatin1String(", plain");
    if (argument.optional) text += QLatin1String(", or nothing");
    return text;
}

QString argumentsText(const Operation& operation) {
    QStringList texts;
    for (const Argument& argument : operation.arguments)
        texts.append(argumentText(argument));
    return texts.isEmpty() ? QStringLiteral("—") : texts.join(QLatin1String("; "));
}

QString resultText(const Operation& operation) {
    return operation.result == Result::Nothing ? QStringLiteral("—") : typeName(operation.resultType);
}

QString sentToText(const Operation& operation) {
    if (operation.executeOnErrorClient || operation.authorizedOnErrorClient ||
        (operation.readOnErrorClient && !operation.readOnDisabledClient))
        return QStringLiteral("also in error");
    if (operation.readOnErrorClient) return QStringLiteral("also in error or disabled");
    return QStringLiteral("usable");
}

QString row(const Operation& operation) {
    QStringList cells{QStringLiteral("`%1`").arg(latin(operation.selector)), argumentsText(operation),
                      resultText(operation),
                      operation.mode == Mode::Sync ? QStringLiteral("sync") : QStringLiteral("oneway")};
    if (operation.side == Side::Agent) {
        cells.append(sentToText(operation));
        cells.append(operation.authorized ? QStringLiteral("yes") : QString());
        cells.append(operation.control ? QStringLiteral("control") : QString());
    }
    cells.append(latin(operation.summary));
    for (QString& text : cells)
        text = cell(text);
    return QStringLiteral("| %1 |\n").arg(cells.join(QLatin1String(" | ")));
}

QString tableHead(Side side) {
    if (side == Side::Console)
        return QStringLiteral(
            "| Callback | Arguments | Result | Mode | What it is |\n|---|---|---|---|---|\n");
    return QStringLiteral(
        "| Operation | Arguments | Result | Mode | Sent to clients | Credentials | Lane | What it does |\n"
        "|---|---|---|---|---|---|---|---|\n");
}

QString tables(Side side) {
    QString text;
    const char* group = nullptr;
    for (const Operation& operation : operations()) {
        if (operation.side != side) continue;
        if (group != operation.group) {
            group = operation.group;
            text += QStringLiteral("\n### %1\n\n").arg(latin(group)) + tableHead(side);
        }
        text += row(operation);
    }
    return text;
}

QString errorTable() {
    using namespace CorvalinError;
    constexpr Code codes[] = {ApplicationNotFound, InfoPlistNotFound, ApplicationOutdated, TaskNotFound,
                              DestinationBusy,     BadCredentials,    NotInstalled,        ClientOutdated,
                              SuiteOutdated,       ConnectionTimedOut};
    QString text = QStringLiteral("| Code | Message | Fixed by installing or updating |\n|---|---|---|\n");
    for (const Code code : codes)
        text += QStringLiteral("| %1 | %2 | %3 |\n")
                    .arg(QString::number(code), message(code, QStringLiteral("NAME")),
                         actionType(code) ? QStringLiteral("yes") : QStringLiteral("no"));
    return text + QStringLiteral("| 0 | none: no error | no |\n| any other | %1 | no |\n").arg(message(-1));
}

constexpr char introduction[] = R"(# The agents' protocol

This page is made from the table in `src/remote/VLCorvalinServerProtocol.cpp`: change the table, then run
`protocol_test --write-page docs/protocol.md`. The runners, the agent's dispatch and the checks of what
arrives all use the same table.

Each agent vends one root object. The console sends it operations and hands it one object to call back. An
operation is named by its selector and takes one argument for each colon in it.

- **sync**: the caller waits for the result; a failure on the other side is raised in the caller.
- **oneway**: the caller does not wait; failures come, if at all, as callbacks to the error queue.
- Arguments and results are copies of property-list values, unless the table says that an argument travels **by
  reference** (an object that the other side calls back) or **plain** (without a declared way of passing).
  Results are always copies; that of `faultscopeGetDefinition:` too, since a text that never changes gains nothing
  from being asked for piece by piece.
- Nothing that arrives is trusted. A result of another type than declared counts as no answer and is reported
  for that client; a call with other arguments than declared is refused. Truth values and numbers pass for
  each other.
- **Sent to clients** says which clients the runners send an operation to besides usable ones: a client is *in
  error* when its error code is above 0, *disabled* when it was switched off in the console.
- **Credentials**: the operation may need administrator rights. Except for tasks, its first argument is then a
  dictionary of "authUser" and "authPass" (the encrypted password), and the second one holds the arguments
  proper under "obj1" and "obj2". Where the credentials may be left out, the agent does without them only what
  needs no administrator rights. The agent always checks the credentials before it acts.
- **Lane**: the agent carries out the operations of one console one after the other, except that those of the
  *control* lane have a line of their own: a console gets through to an agent that is busy with something long,
  or hangs. An operation of either lane comes after the control operations that were sent before it.
- `fetchInitialConfiguration:` returns the configuration dictionary as its result, so the answer belongs to the
  question without further bookkeeping; the console applies it as if it had been delivered on its own.

Configuration dictionary: "maintenanceRequested" (truth value), "version" and "corvalinVersion" (build numbers),
"preferredHostName", "availableUpdateCount", "availableUpdateCountLastUpdate" (date), "minAdminVersion",
"selfCrashLog".
)";

constexpr char callbackIntroduction[] = R"(
A callback that names a host counts only for the agent's own connection: one that names another host is refused
and reported for the agent that sent it. A callback for a host that the console does not know does nothing.
)";

constexpr char errorIntroduction[] = R"(
Errors travel as dictionaries: "domain", "code", "description", and "info" for the name of an application. The
suite's own domain is "corvalinDomain"; NAME stands for the application. Errors of other domains are shown by
their description.

)";

}  // namespace

QString markdown() {
    return QString::fromUtf8(introduction) + QLatin1String("\n## Operations of the agent\n") +
           tables(Side::Agent) + QLatin1String("\n## Callbacks of the console\n") +
           QString::fromUtf8(callbackIntroduction) + tables(Side::Console) +
           QLatin1String("\n## Error codes\n") + QString::fromUtf8(errorIntroduction) + errorTable();
}

}  // namespace VLCorvalinServerProtocol
