#pragma once

#include "remote/VLProxyObject.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QVariant>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>

/// An agent in memory: answers with a function, keeps what was sent.
class FakeProxy : public VLProxyObject {
public:
    using Answer = std::function<QVariant(const QString& selector, const QVariantList& arguments)>;
    explicit FakeProxy(Answer answer = {}) : m_answer(std::move(answer)) {}

    bool respondsToSelector(const QString& selector, std::chrono::milliseconds limit) override {
        probeLimit = limit;
        return selector != unknownSelector;
    }
    QVariant perform(const QString& selector, const QVariantList& arguments,
                     std::chrono::milliseconds limit) override {
        performLimit = limit;
        {
            const std::lock_guard lock(m_mutex);
            m_sent.append(qMakePair(selector, arguments));
        }
        return m_answer ? m_answer(selector, arguments) : QVariant();
    }
    [[nodiscard]] QList<QPair<QString, QVariantList>> sent() const {
        const std::lock_guard lock(m_mutex);
        return {m_sent.begin(), m_sent.end()};  // shares nothing with what calls still come into
    }

    QString unknownSelector;  ///< set before use
    std::atomic<std::chrono::milliseconds> probeLimit{noTimeLimit}, performLimit{noTimeLimit};

private:
    mutable std::mutex m_mutex;
    QList<QPair<QString, QVariantList>> m_sent;
    Answer m_answer;
};
