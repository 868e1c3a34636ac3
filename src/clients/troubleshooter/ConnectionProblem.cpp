#include "clients/troubleshooter/ConnectionProblem.h"

#include "base/VLBundle.h"
#include "clients/ClientConfiguration.h"
#include "clients/troubleshooter/ProblemTexts.h"
#include "remote/VLCorvalinServerProtocol.h"

namespace {

using Kind = ConnectionProblem::Kind;

Kind kindOfFailure(ConnectionFailure failure) {
    switch (failure) {
        case ConnectionFailure::Refused:
            return ConnectionProblem::Refused;
        case ConnectionFailure::Unreachable:
            return ConnectionProblem::Unreachable;
        case ConnectionFailure::NoAnswer:
            return ConnectionProblem::NoAnswer;
        case ConnectionFailure::HostNotFound:
            return ConnectionProblem::HostNotFound;
        case ConnectionFailure::BadAddress:
            return ConnectionProblem::BadAddress;
        case ConnectionFailure::NotAuthorized:
            return ConnectionProblem::NotAuthorized;
        case ConnectionFailure::ChangedKey:
            return ConnectionProblem::ChangedKey;
        case ConnectionFailure::UnreadableKey:
            return ConnectionProblem::UnreadableKey;
        case ConnectionFailure::NotCorvalin:
            return ConnectionProblem::NotCorvalin;
        case ConnectionFailure::HungUp:
            return ConnectionProblem::HungUp;
        case ConnectionFailure::Garbage:
            return ConnectionProblem::Garbage;
        case ConnectionFailure::Silent:
            return ConnectionProblem::Silent;
        case ConnectionFailure::Lost:
            return ConnectionProblem::Lost;
        case ConnectionFailure::NotAnnounced:
            return ConnectionProblem::NotAnnounced;
        case ConnectionFailure::AgentFault:
            return ConnectionProblem::NotInstalled;
        case ConnectionFailure::None:
        case ConnectionFailure::Other:
            break;
    }
    return ConnectionProblem::Other;
}

Kind kindOfCode(int errorCode) {
    switch (errorCode) {
        case 0:
            return ConnectionProblem::None;
        case CorvalinError::NotInstalled:
            return ConnectionProblem::NotInstalled;
        case CorvalinError::ClientOutdated:
            return ConnectionProblem::AgentOutdated;
        case CorvalinError::SuiteOutdated:
            return ConnectionProblem::SuiteOutdated;
        case CorvalinError::ConnectionTimedOut:
            return ConnectionProblem::NoConfiguration;
        default:
            return ConnectionProblem::Other;
    }
}

bool wantsNewerConsole(const VLService& service) {
    const QVariant version = service.configDict().value(QStringLiteral("minAdminVersion"));
    if (!version.isValid()) return false;
    ClientConfiguration configuration;  // the one value, for whoever asks of a thousand clients at once
    configuration.minAdminVersion = ClientConfiguration::integer(version);
    const auto environment = VLService::environment();
    const VLBundle& bundle =
        environment && environment->bundle ? *environment->bundle : VLBundle::mainBundle();
    return configuration.wantsNewerConsole(bundle);
}

QString reasonOf(const VLService& service) {
    const QString error = service.connectionError();
    if (!error.isEmpty() && !(service.isConnected() && service.errorCode() != 0)) return error;
    return service.errorCode() != 0 ? CorvalinError::message(service.errorCode()) : error;
}

}  // namespace

ConnectionProblem::Kind ConnectionProblem::kindOf(const VLService& service) {
    if (!service.changedCertificate().isEmpty()) return ChangedKey;
    const Kind ofCode = kindOfCode(service.errorCode());
    const Kind ofFailure =
        service.connectionError().isEmpty() ? None : kindOfFailure(service.connectionFailure());
    // The code speaks of the connection that stands, or of the last one, which says less than why there is
    // none now.
    const bool failureSaysMore = !service.isConnected() && ofFailure != Other;
    const Kind first = failureSaysMore ? ofFailure : ofCode;
    const Kind second = failureSaysMore ? ofCode : ofFailure;
    if (first != None) return first;
    if (second != None) return second;
    if (!service.enabled()) return Disabled;
    return service.isConnected() && wantsNewerConsole(service) ? ConsoleOutdated : None;
}

ConnectionProblem ConnectionProblem::of(const VLService& service) {
    ConnectionProblem problem = ProblemTexts::describe(kindOf(service), ProblemTexts::Subject::of(service));
    problem.reason = problem.kind == None ? QString() : reasonOf(service);
    return problem;
}

QString ConnectionProblem::titleOf(Kind kind) {
    return ProblemTexts::title(kind);
}

QString ConnectionProblem::asText() const {
    QStringList lines{title, meaning};
    int number = 0;
    for (const Step& step : steps) {
        lines << QStringLiteral("%1. ").arg(++number) + step.text;
        if (!step.command.isEmpty()) lines << QStringLiteral("   ") + step.command;
    }
    if (!reason.isEmpty()) lines << QStringLiteral("Reported: ") + reason;
    return lines.join(u'\n');
}
