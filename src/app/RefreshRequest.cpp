#include "app/RefreshRequest.h"

RefreshRequest::RefreshRequest(Environment environment, Times times, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)), m_times(times) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(m_times.quiet);
    connect(&m_timer, &QTimer::timeout, this, &RefreshRequest::attempt);
}

void RefreshRequest::request() {
    if (!m_timer.isActive()) m_sinceFirst.start();
    // Clients that keep coming must not put the refresh off for ever.
    if (m_timer.isActive() && m_sinceFirst.hasExpired(m_times.patience.count())) return;
    m_timer.start();
}

void RefreshRequest::cancel() {
    m_timer.stop();
}

void RefreshRequest::attempt() {
    const bool isPatient = !m_sinceFirst.hasExpired(m_times.patience.count());
    if (m_environment.isBlocked() || (isPatient && !m_environment.isSettled())) return m_timer.start();
    m_environment.refresh();
}
