#include "runs/Run.h"

#include <QUuid>

#include <algorithm>

namespace {

/// Whom a thread works for at this moment.
struct Worker {
    RunPtr run;
    Run::PlacePtr place;
};

Worker& worker() {
    thread_local Worker instance;
    return instance;
}

/// Details that an agent sends are kept for a year; a line is enough.
constexpr qsizetype longestReason = 500;

}  // namespace

Run::Run(int number, Description description, QList<RemoteClientPtr> clients, int inFlight,
         std::function<void(Run&)> ended)
    : m_number(number),
      m_id(QUuid::createUuid().toString(QUuid::WithoutBraces)),
      m_description(std::move(description)),
      m_clients(std::move(clients)),
      m_inFlight(std::max(1, inFlight)),
      m_ended(std::move(ended)),
      m_started(QDateTime::currentDateTimeUtc()) {
    for (const RemoteClientPtr& client : m_clients)
        notesOf(keyOf(*client)).name = client->name();
}

Run::~Run() = default;

RunPtr Run::current() {
    return worker().run;
}

bool Run::shallStop() {
    const Worker& here = worker();
    return here.run && (here.run->isCancelled() || (here.place && here.place->m_calls->isGivenUp()));
}

bool Run::isFor(const QString& key) const {
    return m_clients.isEmpty() ||
           std::any_of(m_clients.cbegin(), m_clients.cend(),
                       [&](const RemoteClientPtr& client) { return keyOf(*client) == key; });
}

// ---- Cancelling

void Run::cancel() {
    const std::lock_guard lock(m_mutex);
    m_isCancelled = true;
    m_changed.notify_all();
}

void Run::stopWaiting(std::chrono::milliseconds longerThan) {
    const auto before = std::chrono::steady_clock::now() - longerThan;
    QList<std::shared_ptr<CallScope>> calls;
    {
        const std::lock_guard lock(m_mutex);
        for (const Place* const place : std::as_const(m_places)) {
            if (place->m_started > before) continue;
            m_givenUp.insert(keyOf(*place->client()));
            calls.append(place->m_calls);
        }
    }
    for (const auto& call : std::as_const(calls))
        call->giveUp();
}

QStringList Run::awaited(std::chrono::milliseconds longerThan) const {
    const auto before = std::chrono::steady_clock::now() - longerThan;
    const std::lock_guard lock(m_mutex);
    QStringList names;
    for (const Place* const place : m_places)
        if (place->m_started <= before) names.append(place->client()->name());
    return names;
}

bool Run::isUnderWayOn(const QString& hostName) const {
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_places.cbegin(), m_places.cend(),
                       [&](const Place* place) { return keyOf(*place->client()) == hostName; });
}

// ---- Outcomes

QString Run::keyOf(const RemoteClient& client) {
    const QString hostName = client.hostName();
    return hostName.isEmpty() ? client.name() : hostName;
}

Run::Notes& Run::notesOf(const QString& key) {
    const auto found = m_notes.find(key);
    if (found != m_notes.end()) return *found;
    m_keys.append(key);
    Notes& notes = m_notes[key];
    notes.name = key;
    return notes;
}

void Run::note(const RemoteClient& client, const Outcome& outcome) {
    note(keyOf(client), outcome);
    const std::lock_guard lock(m_mutex);
    notesOf(keyOf(client)).name = client.name();
}

void Run::note(const QString& key, const Outcome& outcome) {
    const std::lock_guard lock(m_mutex);
    Notes& notes = notesOf(key);
    if (outcome.kind == Outcome::Refused) ++notes.refusals;
    std::optional<Outcome>& noted = notes.outcome;
    if (noted && noted->kind >= outcome.kind) return;
    noted = {outcome.kind, outcome.reason.left(longestReason)};
}

void Run::keepUndo(const QString& key, const QVariantMap& undo) {
    const std::lock_guard lock(m_mutex);
    notesOf(key).undo = undo;
}

QVariantMap Run::undo(const QString& key) const {
    const std::lock_guard lock(m_mutex);
    return m_notes.value(key).undo;
}

Run::Change::Change(RemoteClientPtr client) : m_run(current()), m_client(std::move(client)) {
    if (!m_run) return;
    const Keeping& keeping = m_run->m_description.keeping;
    if (!keeping.before && !keeping.after) {
        m_run.reset();
        return;
    }
    m_key = keyOf(*m_client);
    {
        const std::lock_guard lock(m_run->m_mutex);
        const Notes& notes = m_run->notesOf(m_key);
        m_refusalsBefore = notes.refusals;
        if (notes.former) return;
    }
    QVariantMap former;
    if (keeping.before) {
        const RunScope notOfTheRun({});
        former = keeping.before(m_client);
    }
    const std::lock_guard lock(m_run->m_mutex);
    m_run->notesOf(m_key).former = former;
}

Run::Change::~Change() {
    if (!m_run || m_isDone) return;
    const std::lock_guard lock(m_run->m_mutex);
    Notes& notes = m_run->notesOf(m_key);
    if (notes.undo.isEmpty() && !m_run->m_description.keeping.after)
        notes.undo = notes.former.value_or(QVariantMap());
}

void Run::Change::done() {
    m_isDone = true;
    if (!m_run) return;
    QVariantMap former;
    {
        const std::lock_guard lock(m_run->m_mutex);
        const Notes& notes = m_run->notesOf(m_key);
        if (notes.refusals > m_refusalsBefore) return;
        former = notes.former.value_or(QVariantMap());
    }
    const Keeping& keeping = m_run->m_description.keeping;
    QVariantMap undo = former;
    if (keeping.after) {
        const RunScope notOfTheRun({});
        undo = keeping.after(m_client, former);
    }
    m_run->keepUndo(m_key, undo);
}

std::optional<Outcome> Run::outcome(const QString& key) const {
    const std::lock_guard lock(m_mutex);
    return m_notes.value(key).outcome;
}

std::pair<qsizetype, qsizetype> Run::progress() const {
    const std::lock_guard lock(m_mutex);
    QSet<QString> underWay;
    for (const Place* const place : m_places)
        underWay.insert(keyOf(*place->client()));
    const auto ended = std::count_if(m_keys.cbegin(), m_keys.cend(), [&](const QString& key) {
        return m_notes.constFind(key)->outcome && !underWay.contains(key);
    });
    return {ended, m_keys.size()};
}

/// A change that only asked before it was stopped has changed nothing.
Outcome Run::endOn(const Notes& notes) const {
    const bool isMerelyAnswered = notes.outcome && notes.outcome->kind == Outcome::Answered;
    if (notes.outcome && !(isMerelyAnswered && m_description.isChange)) return *notes.outcome;
    if (m_isCancelled) return {Outcome::Cancelled, {}};
    return {Outcome::Skipped, QStringLiteral("nothing to do there")};
}

RunRecord Run::record() const {
    const std::lock_guard lock(m_mutex);
    RunRecord record;
    record.id = m_id;
    record.started = m_started;
    record.ended = m_endedAt;
    record.tool = m_description.tool;
    record.action = m_description.action;
    record.actionDone = m_description.actionDone;
    record.subject = m_description.subject;
    record.isChange = m_description.isChange;
    record.undoOf = m_description.undoOf;
    record.retryOf = m_description.retryOf;
    for (const QString& key : m_keys) {
        const Notes notes = m_notes.value(key);
        const Outcome outcome = endOn(notes);
        // What was taken back before it failed half-way is still there to be taken back.
        record.outcomes.append({key, notes.name, outcome, notes.undo});
    }
    return record;
}

// ---- Places

Run::PlacePtr Run::place(const RemoteClientPtr& client) {
    auto place = std::make_shared<Place>(shared_from_this(), client);
    m_places.append(place.get());
    if (m_givenUp.contains(keyOf(*client))) place->m_calls->giveUp();
    return place;
}

Run::PlacePtr Run::takePlace(const RemoteClientPtr& client) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isCancelled || m_places.size() < m_inFlight; });
    return m_isCancelled ? nullptr : place(client);
}

void Run::leave(Place& place) {
    const std::lock_guard lock(m_mutex);
    m_places.removeOne(&place);
    m_changed.notify_one();
}

Run::Place::Place(RunPtr run, RemoteClientPtr client)
    : m_run(std::move(run)), m_client(std::move(client)), m_calls(std::make_shared<CallScope>()) {}

Run::Place::~Place() {
    m_run->leave(*this);
}

// ---- Its end

Run::Hold::Hold(RunPtr run) : m_run(std::move(run)) {
    const std::lock_guard lock(m_run->m_mutex);
    ++m_run->m_holds;
}

Run::Hold::~Hold() {
    m_run->release();
}

void Run::release() {
    {
        const std::lock_guard lock(m_mutex);
        if (--m_holds > 0 || m_endedAt.isValid()) return;
        m_endedAt = QDateTime::currentDateTimeUtc();
    }
    if (m_ended) m_ended(*this);
}

bool Run::hasEnded() const {
    const std::lock_guard lock(m_mutex);
    return m_endedAt.isValid();
}

RunScope::RunScope(RunPtr run, Run::PlacePtr place) : m_outerRun(worker().run), m_outerPlace(worker().place) {
    if (run) m_hold.emplace(run);
    if (place) m_calls.emplace(place->m_calls);
    worker() = {std::move(run), std::move(place)};
}

RunScope::~RunScope() {
    worker() = {std::move(m_outerRun), std::move(m_outerPlace)};
}
