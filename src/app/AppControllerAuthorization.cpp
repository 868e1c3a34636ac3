// How authorised runs, and the record of all runs, are tied to the rest of the console.
#include "app/AppController.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>

namespace {

QString consoleUserName() {
    const passwd* user = ::getpwuid(::geteuid());  // before there is a second thread
    return user ? QString::fromLocal8Bit(user->pw_name) : qEnvironmentVariable("USER");
}

}  // namespace

QList<RemoteClientPtr> AppController::selectedClients() const {
    const QList<VLServicePtr> selected = m_services->selectedServices();
    return {selected.begin(), selected.end()};
}

void AppController::createActivity() {
    m_activity = std::make_unique<ActivityStore>();
    m_taskThreads->runs().keepRecords(
        consoleUserName(), [store = m_activity.get()](const RunRecord& record) { store->add(record); });
}

void AppController::createAuthorization() {
    AuthorizationController::Environment environment;
    environment.runner = m_runner.get();
    environment.passwords = PasswordStore::keychain();
    environment.selectedServices = [this] { return selectedClients(); };
    environment.isKnown = [this](const RemoteClientPtr& client) {
        const QList<VLServicePtr> services = m_services->serviceArray();
        return std::any_of(services.begin(), services.end(),
                           [&](const VLServicePtr& service) { return service == client; });
    };
    TaskThreads* const progress = m_taskThreads.get();
    environment.setProcessingCancelled = [progress](bool cancelled) {
        progress->setProcessingCancelled(cancelled);
    };
    environment.cancelAllProgress = [progress] { progress->cancelAllProgress(); };
    environment.putProgressAway = [progress] { progress->putProgressAway(); };
    environment.bringProgressBack = [progress] { progress->bringProgressBack(); };
    environment.loginName = consoleUserName();
    environment.lookInterval = m_appServices.authLookInterval;
    m_authorization = std::make_unique<AuthorizationController>(std::move(environment));

    AuthorizedRunner::Environment runs;
    runs.progress = progress;
    runs.runner = m_runner.get();
    runs.selectedServices = [this] { return selectedClients(); };
    runs.clearAuthSkipped = [this] { m_authorization->clearAuthSkipped(); };
    runs.prepareCredentials = [this](const RemoteClientPtr& client) {
        return m_authorization->prepareCredentials(client);
    };
    runs.acceptedCredentials = [this](const RemoteClientPtr& client, const HostCredentials& credentials) {
        return m_authorization->acceptedCredentials(client, credentials);
    };
    m_authorizedRunner = std::make_unique<AuthorizedRunner>(std::move(runs));
}
