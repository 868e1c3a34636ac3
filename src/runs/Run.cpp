#include "runs/Run.h"

#include "system/VLException.h"

#include <QUuid>

#include <algorithm>

namespace {

/// Whom a thread works for at this moment.
struct Worker {
    RunPtr run;
    Run::PlacePtr place;
    Run::Changes* changes = nullptr;
};

Worker& worker() {
    thread_local Worker instance;
    return instance;
}

/// What the client says is not part of the run's outcome.
std::optional<QVariantMap> learnt(const std::function<std::optional<QVariantMap>()>& ask) {
    const RunScope notOfTheRun({});
    try {
        return ask();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "Run::Keeping");
        return std::nullopt;
    }
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
    for (const RemoteClientPtr& client : m_clients) {
        const QString key = keyOf(*client);
        m_keyOfClient.insert(client.get(), key);
        m_keysOfClients.insert(key);
        notesOf(key).name = client->name();
    }
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
    return m_clients.isEmpty() || m_keysOfClients.contains(key);
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

bool Run::hasTurnOn(const QString& hostName) const {
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_places.cbegin(), m_places.cend(), [&](const Place* place) {
        return keyOf(*place->client()) == hostName && place->client()->changeTurn().holder() == m_number;
    });
}

// ---- Outcomes

QString Run::keyOf(const RemoteClient& client) {
    const QString hostName = client.hostName();
    return hostName.isEmpty() ? client.name() : hostName;
}

QString Run::keyFor(const RemoteClient& client) const {
    const auto known = m_keyOfClient.constFind(&client);
    return known != m_keyOfClient.cend() ? *known : keyOf(client);
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
    const QString key = keyFor(client);
    note(key, outcome);
    if (!isFor(key)) return;
    const std::lock_guard lock(m_mutex);
    notesOf(key).name = client.name();
}

void Run::note(const QString& key, const Outcome& outcome) {
    if (!isFor(key)) return;
    const std::lock_guard lock(m_mutex);
    Notes& notes = notesOf(key);
    if (outcome.kind == Outcome::Refused) ++notes.refusals;
    std::optional<Outcome>& noted = notes.outcome;
    if (noted && noted->kind >= outcome.kind) return;
    noted = {outcome.kind, outcome.reason.left(longestReason)};
}

void Run::noteLeftAlone(const RemoteClient& client, const QString& reason) {
    const std::lock_guard lock(m_mutex);
    Notes& notes = notesOf(keyFor(client));
    notes.name = client.name();
    notes.outcome = {Outcome::LeftAlone, reason};
}

// ---- Taking back

void Run::keepUndo(const QString& key, const QVariantMap& undo) {
    if (!isFor(key)) return;
    const std::lock_guard lock(m_mutex);
    notesOf(key).undo = undo;
}

QVariantMap Run::undo(const QString& key) const {
    const std::lock_guard lock(m_mutex);
    return m_notes.value(key).undo;
}

/// Once for each client, whatever is changed on it.
void Run::keepFormer(const RemoteClientPtr& client) {
    const QString key = keyFor(*client);
    {
        const std::lock_guard lock(m_mutex);
        Notes& notes = notesOf(key);
        if (std::exchange(notes.isFormerKnown, true)) return;
    }
    std::optional<QVariantMap> former = QVariantMap();
    if (m_description.keeping.before) former = learnt([&] { return m_description.keeping.before(client); });
    const std::lock_guard lock(m_mutex);
    notesOf(key).former = std::move(former);
}

void Run::keepUndoAfter(const RemoteClientPtr& client) {
    const QString key = keyFor(*client);
    std::optional<QVariantMap> undo;
    {
        const std::lock_guard lock(m_mutex);
        undo = m_notes.value(key).former;
    }
    if (undo && m_description.keeping.after)
        undo = learnt([&] { return m_description.keeping.after(client, *undo); });
    const std::lock_guard lock(m_mutex);
    Notes& notes = notesOf(key);
    notes.isUndoLost = !undo;
    notes.undo = undo.value_or(QVariantMap());
}

Run::Change::Change(RemoteClientPtr client) : m_run(current()), m_client(std::move(client)) {
    if (!m_run || !m_run->description().isChange) return;
    const QString key = m_run->keyFor(*m_client);
    if (!m_run->isFor(key)) return;
    m_key = key;
    if (m_run->m_description.keeping.isAny()) m_run->keepFormer(m_client);
    const std::lock_guard lock(m_run->m_mutex);
    m_refusalsBefore = m_run->notesOf(m_key).refusals;
}

Run::Change::~Change() {
    if (m_key.isEmpty() || m_isRefused || !m_run->m_description.keeping.isAny()) return;
    if (Changes* const all = worker().changes; all && all->m_client == m_client)
        all->m_hasChanged = true;
    else
        m_run->keepUndoAfter(m_client);
}

bool Run::Change::done() {
    if (m_key.isEmpty()) return true;
    const std::lock_guard lock(m_run->m_mutex);
    m_isRefused = m_run->notesOf(m_key).refusals > m_refusalsBefore;
    return !m_isRefused;
}

Run::Changes::Changes(RemoteClientPtr client)
    : m_run(current()), m_client(std::move(client)), m_turn(turnOf(*m_client)) {
    if (m_turn && *m_turn) worker().changes = this;
}

Run::Changes::~Changes() {
    if (worker().changes != this) return;
    worker().changes = nullptr;
    if (m_hasChanged) m_run->keepUndoAfter(m_client);
}

bool Run::Changes::areHere(const RemoteClient& client) {
    const Changes* const changes = worker().changes;
    return changes && changes->m_client.get() == &client;
}

std::unique_ptr<ChangeTurn::Taken> Run::turnOf(RemoteClient& client) {
    const RunPtr run = current();
    if (!run || !run->description().isChange || Changes::areHere(client)) return nullptr;
    auto turn = std::make_unique<ChangeTurn::Taken>(client.changeTurn(), run->number(), shallStop);
    if (!*turn && !run->isCancelled())
        run->note(client, {Outcome::NoAnswer, tr("another change is under way there")});
    return turn;
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
    return {Outcome::LeftAlone, tr("nothing to do there")};
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
        Outcome outcome = endOn(notes);
        if (notes.isUndoLost) {
            if (!outcome.reason.isEmpty()) outcome.reason += QStringLiteral(" · ");
            outcome.reason += tr("cannot be taken back: its state could not be read");
        }
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

int Run::drawNumber() {
    const std::lock_guard lock(m_mutex);
    return ++m_lastNumber;
}

Run::PlacePtr Run::takePlace(const RemoteClientPtr& client, int number) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(
        lock, [&] { return m_isCancelled || (m_places.size() < m_inFlight && m_lastServed + 1 == number); });
    if (m_isCancelled) return nullptr;
    m_lastServed = number;
    if (m_lastNumber > number) m_changed.notify_all();  // there may be room for the next one, too
    return place(client);
}

bool Run::hasFreePlace() const {
    const std::lock_guard lock(m_mutex);
    return m_places.size() + (m_lastNumber - m_lastServed) < m_inFlight;
}

void Run::leave(Place& place) {
    const std::lock_guard lock(m_mutex);
    m_places.removeOne(&place);
    if (m_lastNumber > m_lastServed) m_changed.notify_all();
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

RunScope::RunScope(RunPtr run, Run::PlacePtr place)
    : m_outerRun(worker().run), m_outerPlace(worker().place), m_outerChanges(worker().changes) {
    const bool goesOn = run == m_outerRun && !place;
    if (run) m_hold.emplace(run);
    if (place) m_calls.emplace(place->m_calls);
    if (!goesOn) worker() = {std::move(run), std::move(place)};
}

RunScope::~RunScope() {
    worker() = {std::move(m_outerRun), std::move(m_outerPlace), m_outerChanges};
}
