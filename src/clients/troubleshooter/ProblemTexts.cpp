#include "clients/troubleshooter/ProblemTexts.h"

#include <algorithm>
#include <array>

namespace {

using Kind = ConnectionProblem::Kind;

/// "{name}", "{address}" and "{port}" stand for those of the client. A '|' in a step begins its command.
struct Texts {
    Kind kind;
    const char* title;
    const char* meaning;
    std::array<const char*, 4> steps;
};

constexpr char retryStep[] = "Choose Retry. The console also tries again by itself every few seconds.";

constexpr std::array allTexts{
    Texts{Kind::Refused,
          "No agent on this port",
          "“{name}” can be reached at {address}, but nothing there takes connections on port {port}. Its "
          "client agent is not running, or it uses another port.",
          {"Start the client agent on “{name}”; it is a service that can be started like this:|systemctl "
           "start corvalin-agent",
           "If its agent uses another port, take the computer off the list and add it again with that port.",
           "See that no firewall on the computer turns connections to TCP port {port} down.", retryStep}},
    Texts{Kind::Unreachable,
          "No way to the computer",
          "The network knows no way to {address}. Either machine is off the network, or the two are in "
          "networks that are not joined.",
          {"Check the network connection of this machine and of “{name}”.",
           "See that {address} is still the address of “{name}”; it may have been given another one.",
           "If the computer is in another network, join the networks (a router, a VPN) first.", retryStep}},
    Texts{Kind::NoAnswer,
          "No answer",
          "Nothing came back from “{name}” in time. It is switched off or asleep, the address {address} is "
          "not its own any more, or a firewall swallows what is sent to port {port}.",
          {"Wake “{name}” up, or switch it on.", "See that {address} is still its address.",
           "Let the firewalls between the two machines pass TCP port {port}.",
           "Choose Test Port to see whether it is the port or the whole computer that does not answer."}},
    Texts{Kind::HostNotFound,
          "Name not found",
          "The name by which “{name}” is looked for leads to no address.",
          {"See that the computer is switched on and announces itself, or that the name server knows it.",
           "If it has a fixed address, add it by that: choose Add Computer.", retryStep}},
    Texts{Kind::BadAddress,
          "No usable address",
          "“{name}” is listed with an address or a port that cannot be right: {address}, port {port}.",
          {"Take it off the list and add it again with its IPv4 address and the port of its agent.",
           "If it was found on the network, restart its client agent, so that it announces itself anew."}},
    Texts{Kind::NotAuthorized,
          "This console is not authorized",
          "A client agent serves only consoles that were made known to it. This console's certificate is "
          "not among those that “{name}” was given.",
          {"On this machine, write the console's certificate to a file:|orlendo --export-certificate "
           "console.crt",
           "Copy the file to “{name}”, into the folder of authorized consoles:|cp console.crt "
           "/var/lib/corvalin-agent/authorized/",
           "Or, where the agent is started by hand, start it anew with that file:|corvalin-agent --authorize "
           "console.crt",
           "Choose Retry."}},
    Texts{Kind::ChangedKey,
          "Identity has changed",
          "“{name}” shows another key than the one it was known by. That is so after its agent was "
          "installed anew — or when another computer answers in its place. Nothing is sent to it until the "
          "new key has been accepted.",
          {"Find out whether the agent was installed anew, or the computer replaced.",
           "Have the fingerprint of its key shown on “{name}” itself:|corvalin-agent --print-fingerprint",
           "Choose Review New Identity and compare the two. Accept only when they are the same."}},
    Texts{Kind::NotCorvalin,
          "Not a client agent",
          "Something answers at {address}, port {port}, but it is no client agent: the port belongs to "
          "another program, or the address to another machine.",
          {"See which port the agent on “{name}” uses (5473 unless it was changed).",
           "See that {address} is the address of “{name}”.",
           "Take the computer off the list and add it again with the right address and port."}},
    Texts{Kind::HungUp,
          "Connection closed at once",
          "“{name}” takes the connection and closes it before it has said anything. Its agent is just "
          "starting or ending, it has too many connections, or another program uses the port.",
          {"Wait a moment, then choose Retry.", "Restart the client agent on “{name}”.",
           "Look into the agent's log there for the reason.|journalctl -u corvalin-agent"}},
    Texts{Kind::Garbage,
          "Answers cannot be read",
          "What “{name}” sends cannot be understood, so the connection was ended. Its agent may be of quite "
          "another version, or damaged.",
          {"Install the current version of the Corvalin suite on “{name}”.",
           "See that the agent and nothing else uses port {port} there.",
           "Show the log: it says what could not be read."}},
    Texts{Kind::Silent,
          "No sign of life",
          "“{name}” was connected, then nothing more came from it. It was switched off or fell asleep, its "
          "network connection broke, or it is too busy to answer.",
          {"See that “{name}” is on, awake and on the network.",
           "If it is busy, wait until it has time again.", retryStep}},
    Texts{Kind::Lost,
          "Connection lost",
          "The connection to “{name}” stood and was then closed from there: its agent was ended or "
          "restarted, or the computer was shut down.",
          {"If the computer is just restarting, wait: it is connected again as soon as its agent runs.",
           "Start the client agent on “{name}”.", retryStep}},
    Texts{Kind::NotAnnounced,
          "Not on the network any more",
          "“{name}” was neither added by hand nor does it announce itself, so there is nothing to connect "
          "to. The console does not try again by itself.",
          {"Start “{name}” and its client agent: it then appears in the list by itself.",
           "If it is in a network that announcements do not reach, add it by its address: choose Add "
           "Computer."}},
    Texts{Kind::NotInstalled,
          "Agent not installed properly",
          "The agent of “{name}” answers, but not what this console asks it for. The suite there is "
          "incomplete, damaged or far too old.",
          {"Install a recent version of the Corvalin suite on “{name}”.",
           "Restart its client agent, then choose Retry.", "Show the log: it says what the agent answered."}},
    Texts{Kind::AgentOutdated,
          "Client agent too old",
          "“{name}” is connected, but its client agent is older than this console works with. Most tools "
          "leave the computer out.",
          {"Install a more recent version of the client agent on “{name}”.",
           "Restart the agent, then choose Retry."}},
    Texts{Kind::SuiteOutdated,
          "Suite too old",
          "“{name}” is connected, but the Corvalin suite on it is missing or older than this console works "
          "with. Most tools leave the computer out.",
          {"Install a more recent version of the Corvalin suite on “{name}”.",
           "Restart its client agent, then choose Retry."}},
    Texts{Kind::NoConfiguration,
          "No configuration received",
          "“{name}” took the connection, but did not answer the first question about itself in time. Its "
          "agent is busy or hangs, or it is too old.",
          {"If the computer is very busy, wait, then choose Retry.", "Restart the client agent on “{name}”.",
           "Make sure that it has the latest version of the client software."}},
    Texts{Kind::ConsoleOutdated,
          "This console is too old",
          "“{name}” is connected and can be used, but its agent expects a more recent version of Orlendo. "
          "Some things may not work as they should.",
          {"Install the current version of Orlendo on this machine."}},
    Texts{Kind::Disabled,
          "Disabled",
          "“{name}” is disabled in this console: it stays in the list, and tools leave it out.",
          {"Select it in the list of computers, then choose Computer ▸ Enable Computer."}},
    Texts{Kind::Other,
          "Connection failed",
          "“{name}” could not be connected to, for a reason that this console has no advice on.",
          {"See that “{name}” is on and its client agent runs.",
           "Choose Test Port to see whether the port can be reached.",
           "Show the log: it has every step of the attempt.", retryStep}},
};

const Texts* find(Kind kind) {
    const auto found = std::find_if(allTexts.begin(), allTexts.end(),
                                    [kind](const Texts& texts) { return texts.kind == kind; });
    return found == allTexts.end() ? nullptr : &*found;
}

/// One pass: what is put in is not looked through again.
QString filled(const QString& text, const ProblemTexts::Subject& subject) {
    QString result;
    for (qsizetype position = 0; position < text.size();) {
        const qsizetype open = text.indexOf(u'{', position);
        const qsizetype close = open < 0 ? -1 : text.indexOf(u'}', open);
        if (close < 0) return result + text.mid(position);
        const QStringView key = QStringView(text).mid(open + 1, close - open - 1);
        result += QStringView(text).mid(position, open - position);
        result += key == u"name"      ? subject.name
                  : key == u"address" ? subject.address
                                      : QString::number(subject.port);
        position = close + 1;
    }
    return result;
}

ConnectionProblem::Step step(const char* text, const ProblemTexts::Subject& subject) {
    const QString whole = QString::fromUtf8(text);
    return {filled(whole.section(u'|', 0, 0), subject), whole.section(u'|', 1)};
}

}  // namespace

ProblemTexts::Subject ProblemTexts::Subject::of(const VLService& service) {
    const QString ip = service.ipAddress();
    return {service.name(), ip.isEmpty() ? service.hostName() : ip, service.port()};
}

QString ProblemTexts::title(Kind kind) {
    const Texts* texts = find(kind);
    return texts ? QString::fromUtf8(texts->title) : QString();
}

ConnectionProblem ProblemTexts::describe(Kind kind, const Subject& subject) {
    ConnectionProblem problem;
    const Texts* texts = find(kind);
    if (!texts) return problem;
    problem.kind = kind;
    problem.title = title(kind);
    problem.meaning = filled(QString::fromUtf8(texts->meaning), subject);
    for (const char* text : texts->steps)
        if (text) problem.steps.append(step(text, subject));
    return problem;
}
