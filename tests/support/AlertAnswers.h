#pragma once

#include "desktop/VLAlert.h"

#include <QVariantMap>

#include <functional>

/// While it lives, every alert is answered at once, and what it asked is kept.
class AlertAnswers {
public:
    explicit AlertAnswers(int first = VLAlert::DefaultReturn) : answer(first) {
        VLAlert::setPresenter([this](const QVariantMap& alert, QObject*, const auto& ended) {
            asked.append(alert.value(QStringLiteral("messageText")).toString());
            details.append(alert.value(QStringLiteral("informativeText")).toString());
            if (meanwhile) meanwhile();
            ended(answer);
            return VLAlert::OrderOut([] {});
        });
    }
    ~AlertAnswers() { VLAlert::setPresenter({}); }
    AlertAnswers(const AlertAnswers&) = delete;
    AlertAnswers& operator=(const AlertAnswers&) = delete;

    int answer;
    QStringList asked, details;
    std::function<void()> meanwhile;  ///< what happens before the answer
};
