#include "clients/troubleshooter/ProblemTexts.h"

#include <QCoreApplication>

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

constexpr char retryStep[] = QT_TRANSLATE_NOOP(
    "ProblemTexts", "Choose Retry. The console also tries again by itself every few seconds.");

constexpr std::array allTexts{
    Texts{
        Kind::Refused,
        QT_TRANSLATE_NOOP("ProblemTexts", "No agent on this port"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” can be reached at {address}, but nothing there takes connections on port {port}. Its "
            "client agent is not running, or it uses another port."),
        {QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "Start the client agent on “{name}”; it is a service that can be started like this:|systemctl "
             "start corvalin-agent"),
         QT_TRANSLATE_NOOP("ProblemTexts",
                           "If its agent uses another port, take the computer off the list and add it again "
                           "with that port."),
         QT_TRANSLATE_NOOP("ProblemTexts",
                           "See that no firewall on the computer turns connections to TCP port {port} down."),
         retryStep}},
    Texts{Kind::Unreachable,
          QT_TRANSLATE_NOOP("ProblemTexts", "No way to the computer"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "The network knows no way to {address}. Either machine is off the network, or the two are in "
              "networks that are not joined."),
          {QT_TRANSLATE_NOOP("ProblemTexts", "Check the network connection of this machine and of “{name}”."),
           QT_TRANSLATE_NOOP(
               "ProblemTexts",
               "See that {address} is still the address of “{name}”; it may have been given another one."),
           QT_TRANSLATE_NOOP(
               "ProblemTexts",
               "If the computer is in another network, join the networks (a router, a VPN) first."),
           retryStep}},
    Texts{
        Kind::NoAnswer,
        QT_TRANSLATE_NOOP("ProblemTexts", "No answer"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "Nothing came back from “{name}” in time. It is switched off or asleep, the address {address} is "
            "not its own any more, or a firewall swallows what is sent to port {port}."),
        {QT_TRANSLATE_NOOP("ProblemTexts", "Wake “{name}” up, or switch it on."),
         QT_TRANSLATE_NOOP("ProblemTexts", "See that {address} is still its address."),
         QT_TRANSLATE_NOOP("ProblemTexts",
                           "Let the firewalls between the two machines pass TCP port {port}."),
         QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "Choose Test Port to see whether it is the port or the whole computer that does not answer.")}},
    Texts{
        Kind::HostNotFound,
        QT_TRANSLATE_NOOP("ProblemTexts", "Name not found"),
        QT_TRANSLATE_NOOP("ProblemTexts", "The name by which “{name}” is looked for leads to no address."),
        {QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "See that the computer is switched on and announces itself, or that the name server knows it."),
         QT_TRANSLATE_NOOP("ProblemTexts", "If it has a fixed address, add it by that: choose Add Computer."),
         retryStep}},
    Texts{
        Kind::BadAddress,
        QT_TRANSLATE_NOOP("ProblemTexts", "No usable address"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” is listed with an address or a port that cannot be right: {address}, port {port}."),
        {QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "Take it off the list and add it again with its IPv4 address and the port of its agent."),
         QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "If it was found on the network, restart its client agent, so that it announces itself anew.")}},
    Texts{Kind::NotAuthorized,
          QT_TRANSLATE_NOOP("ProblemTexts", "This console is not authorized"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "A client agent serves only consoles that were made known to it. This console's certificate is "
              "not among those that “{name}” was given."),
          {QT_TRANSLATE_NOOP(
               "ProblemTexts",
               "On this machine, write the console's certificate to a file:|orlendo --export-certificate "
               "console.crt"),
           QT_TRANSLATE_NOOP(
               "ProblemTexts",
               "Copy the file to “{name}”, into the folder of authorized consoles:|cp console.crt "
               "/var/lib/corvalin-agent/authorized/"),
           QT_TRANSLATE_NOOP("ProblemTexts",
                             "Or, where the agent is started by hand, start it anew with that "
                             "file:|corvalin-agent --authorize "
                             "console.crt"),
           QT_TRANSLATE_NOOP("ProblemTexts", "Choose Retry.")}},
    Texts{
        Kind::ChangedKey,
        QT_TRANSLATE_NOOP("ProblemTexts", "Identity has changed"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” shows another key than the one it was known by. That is so after its agent was "
            "installed anew — or when another computer answers in its place. Nothing is sent to it until the "
            "new key has been accepted."),
        {QT_TRANSLATE_NOOP("ProblemTexts",
                           "Find out whether the agent was installed anew, or the computer replaced."),
         QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "Have the fingerprint of its key shown on “{name}” itself:|corvalin-agent --print-fingerprint"),
         QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "Choose Review New Identity and compare the two. Accept only when they are the same.")}},
    Texts{
        Kind::UnreadableKey,
        QT_TRANSLATE_NOOP("ProblemTexts", "Stored key is unreadable"),
        QT_TRANSLATE_NOOP("ProblemTexts",
                          "The key by which this console knows “{name}” is in a file that cannot be read, so "
                          "it cannot tell whether the right computer answers. Nothing is sent to it."),
        {QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "The file is named below. See that you may read it and that its disk is there, or bring it back "
             "from a backup."),
         QT_TRANSLATE_NOOP("ProblemTexts",
                           "If it is damaged, remove it: the console then takes the key that “{name}” shows "
                           "next. Compare its fingerprint with the one on “{name}” itself:|corvalin-agent "
                           "--print-fingerprint"),
         retryStep}},
    Texts{Kind::NotCorvalin,
          QT_TRANSLATE_NOOP("ProblemTexts", "Not a client agent"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "Something answers at {address}, port {port}, but it is no client agent: the port belongs to "
              "another program, or the address to another machine."),
          {QT_TRANSLATE_NOOP("ProblemTexts",
                             "See which port the agent on “{name}” uses (5473 unless it was changed)."),
           QT_TRANSLATE_NOOP("ProblemTexts", "See that {address} is the address of “{name}”."),
           QT_TRANSLATE_NOOP(
               "ProblemTexts",
               "Take the computer off the list and add it again with the right address and port.")}},
    Texts{
        Kind::HungUp,
        QT_TRANSLATE_NOOP("ProblemTexts", "Connection closed at once"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” takes the connection and closes it before it has said anything. Its agent is just "
            "starting or ending, it has too many connections, or another program uses the port."),
        {QT_TRANSLATE_NOOP("ProblemTexts", "Wait a moment, then choose Retry."),
         QT_TRANSLATE_NOOP("ProblemTexts", "Restart the client agent on “{name}”."),
         QT_TRANSLATE_NOOP("ProblemTexts",
                           "Look into the agent's log there for the reason.|journalctl -u corvalin-agent")}},
    Texts{
        Kind::Garbage,
        QT_TRANSLATE_NOOP("ProblemTexts", "Answers cannot be read"),
        QT_TRANSLATE_NOOP("ProblemTexts",
                          "What “{name}” sends cannot be understood, so the connection was ended. Its agent "
                          "may be of quite "
                          "another version, or damaged."),
        {QT_TRANSLATE_NOOP("ProblemTexts", "Install the current version of the Corvalin suite on “{name}”."),
         QT_TRANSLATE_NOOP("ProblemTexts", "See that the agent and nothing else uses port {port} there."),
         QT_TRANSLATE_NOOP("ProblemTexts", "Show the log: it says what could not be read.")}},
    Texts{
        Kind::Silent,
        QT_TRANSLATE_NOOP("ProblemTexts", "No sign of life"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” was connected, then nothing more came from it. It was switched off or fell asleep, its "
            "network connection broke, or it is too busy to answer."),
        {QT_TRANSLATE_NOOP("ProblemTexts", "See that “{name}” is on, awake and on the network."),
         QT_TRANSLATE_NOOP("ProblemTexts", "If it is busy, wait until it has time again."), retryStep}},
    Texts{Kind::Lost,
          QT_TRANSLATE_NOOP("ProblemTexts", "Connection lost"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "The connection to “{name}” stood and was then closed from there: its agent was ended or "
              "restarted, or the computer was shut down."),
          {QT_TRANSLATE_NOOP(
               "ProblemTexts",
               "If the computer is just restarting, wait: it is connected again as soon as its agent runs."),
           QT_TRANSLATE_NOOP("ProblemTexts", "Start the client agent on “{name}”."), retryStep}},
    Texts{
        Kind::NotAnnounced,
        QT_TRANSLATE_NOOP("ProblemTexts", "Not on the network any more"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” was neither added by hand nor does it announce itself, so there is nothing to connect "
            "to. The console does not try again by itself."),
        {QT_TRANSLATE_NOOP("ProblemTexts",
                           "Start “{name}” and its client agent: it then appears in the list by itself."),
         QT_TRANSLATE_NOOP(
             "ProblemTexts",
             "If it is in a network that announcements do not reach, add it by its address: choose Add "
             "Computer.")}},
    Texts{Kind::NotInstalled,
          QT_TRANSLATE_NOOP("ProblemTexts", "Agent not installed properly"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "The agent of “{name}” answers, but not what this console asks it for. The suite there is "
              "incomplete, damaged or far too old."),
          {QT_TRANSLATE_NOOP("ProblemTexts", "Install a recent version of the Corvalin suite on “{name}”."),
           QT_TRANSLATE_NOOP("ProblemTexts", "Restart its client agent, then choose Retry."),
           QT_TRANSLATE_NOOP("ProblemTexts", "Show the log: it says what the agent answered.")}},
    Texts{
        Kind::AgentOutdated,
        QT_TRANSLATE_NOOP("ProblemTexts", "Client agent too old"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” is connected, but its client agent is older than this console works with. Most tools "
            "leave the computer out."),
        {QT_TRANSLATE_NOOP("ProblemTexts", "Install a more recent version of the client agent on “{name}”."),
         QT_TRANSLATE_NOOP("ProblemTexts", "Restart the agent, then choose Retry.")}},
    Texts{
        Kind::SuiteOutdated,
        QT_TRANSLATE_NOOP("ProblemTexts", "Suite too old"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” is connected, but the Corvalin suite on it is missing or older than this console works "
            "with. Most tools leave the computer out."),
        {QT_TRANSLATE_NOOP("ProblemTexts",
                           "Install a more recent version of the Corvalin suite on “{name}”."),
         QT_TRANSLATE_NOOP("ProblemTexts", "Restart its client agent, then choose Retry.")}},
    Texts{Kind::NoConfiguration,
          QT_TRANSLATE_NOOP("ProblemTexts", "No configuration received"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "“{name}” took the connection, but did not answer the first question about itself in time. Its "
              "agent is busy or hangs, or it is too old."),
          {QT_TRANSLATE_NOOP("ProblemTexts", "If the computer is very busy, wait, then choose Retry."),
           QT_TRANSLATE_NOOP("ProblemTexts", "Restart the client agent on “{name}”."),
           QT_TRANSLATE_NOOP("ProblemTexts",
                             "Make sure that it has the latest version of the client software.")}},
    Texts{
        Kind::ConsoleOutdated,
        QT_TRANSLATE_NOOP("ProblemTexts", "This console is too old"),
        QT_TRANSLATE_NOOP(
            "ProblemTexts",
            "“{name}” is connected and can be used, but its agent expects a more recent version of Orlendo. "
            "Some things may not work as they should."),
        {QT_TRANSLATE_NOOP("ProblemTexts", "Install the current version of Orlendo on this machine.")}},
    Texts{Kind::Disabled,
          QT_TRANSLATE_NOOP("ProblemTexts", "Disabled"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "“{name}” is disabled in this console: it stays in the list, and tools leave it out."),
          {QT_TRANSLATE_NOOP("ProblemTexts",
                             "Select it in the list of computers, then choose Computer ▸ Enable Computer.")}},
    Texts{Kind::Other,
          QT_TRANSLATE_NOOP("ProblemTexts", "Connection failed"),
          QT_TRANSLATE_NOOP(
              "ProblemTexts",
              "“{name}” could not be connected to, for a reason that this console has no advice on."),
          {QT_TRANSLATE_NOOP("ProblemTexts", "See that “{name}” is on and its client agent runs."),
           QT_TRANSLATE_NOOP("ProblemTexts", "Choose Test Port to see whether the port can be reached."),
           QT_TRANSLATE_NOOP("ProblemTexts", "Show the log: it has every step of the attempt."), retryStep}},
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

QString translated(const char* text) {
    return QCoreApplication::translate("ProblemTexts", text);
}

ConnectionProblem::Step step(const char* text, const ProblemTexts::Subject& subject) {
    const QString whole = translated(text);
    return {filled(whole.section(u'|', 0, 0), subject), whole.section(u'|', 1)};
}

}  // namespace

ProblemTexts::Subject ProblemTexts::Subject::of(const VLService& service) {
    const QString ip = service.ipAddress();
    return {service.name(), ip.isEmpty() ? service.hostName() : ip, service.port()};
}

QString ProblemTexts::title(Kind kind) {
    const Texts* texts = find(kind);
    return texts ? translated(texts->title) : QString();
}

ConnectionProblem ProblemTexts::describe(Kind kind, const Subject& subject) {
    ConnectionProblem problem;
    const Texts* texts = find(kind);
    if (!texts) return problem;
    problem.kind = kind;
    problem.title = title(kind);
    problem.meaning = filled(translated(texts->meaning), subject);
    for (const char* text : texts->steps)
        if (text) problem.steps.append(step(text, subject));
    return problem;
}
