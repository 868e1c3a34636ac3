#include "runs/InFlight.h"

#include "foundation/VLThread.h"
#include "system/VLException.h"

namespace {

/// A place may also be left by others of the same run; whoever waits looks for itself.
constexpr std::chrono::milliseconds lookAgain{20};

}  // namespace

struct InFlight::State {
    std::mutex mutex;
    std::condition_variable changed;
    int underWay = 0, ended = 0;
};

InFlight::InFlight(RunPtr run, QString name)
    : m_run(std::move(run)), m_name(std::move(name)), m_state(std::make_shared<State>()) {}

InFlight::~InFlight() {
    wait();
}

bool InFlight::start(const RemoteClientPtr& client, Work work) {
    Run::PlacePtr place = m_run->takePlace(client);
    if (!place) return false;
    launch(std::move(place), std::move(work));
    return true;
}

bool InFlight::tryStart(const RemoteClientPtr& client, Work work) {
    Run::PlacePtr place = m_run->tryTakePlace(client);
    if (!place) return false;
    launch(std::move(place), std::move(work));
    return true;
}

void InFlight::launch(Run::PlacePtr place, Work work) {
    {
        const std::lock_guard lock(m_state->mutex);
        ++m_state->underWay;
    }
    // Counted out when the last copy goes: at the end of the thread, or when there is none to be had.
    const std::shared_ptr<void> counted(nullptr, [state = m_state](void*) {
        const std::lock_guard lock(state->mutex);
        --state->underWay;
        ++state->ended;
        state->changed.notify_all();
    });
    auto body = [place = std::move(place), work = std::move(work), counted]() mutable {
        // The place is left, and the work released, before anybody hears that it has ended.
        const std::shared_ptr<void> last = std::move(counted);
        const RemoteClientPtr client = place->client();
        const RunPtr run = place->run();
        const RunScope scope(run, std::move(place));
        try {
            work();
        } catch (const std::exception& exception) {
            VLException::logException(exception, "InFlight");
            run->note(*client, {Outcome::Failed, QString::fromUtf8(exception.what())});
        }
        work = nullptr;
    };
    VLThread::detach(m_name, std::move(body));
}

void InFlight::wait() {
    std::unique_lock lock(m_state->mutex);
    m_state->changed.wait(lock, [this] { return m_state->underWay == 0; });
}

void InFlight::waitForChange(int endedBefore) {
    std::unique_lock lock(m_state->mutex);
    m_state->changed.wait_for(lock, lookAgain, [&] { return m_state->ended != endedBefore; });
}

int InFlight::endedCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->ended;
}

int InFlight::underWayCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->underWay;
}
