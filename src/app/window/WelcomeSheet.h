#pragma once

#include "widgets/Sheet.h"

/// Shown once, at the first start of a user: how the window is used.
class WelcomeSheet : public Sheet {
    Q_OBJECT
public:
    explicit WelcomeSheet(QWidget* parent);

private:
    void addStep(const QString& symbol, const QString& title, const QString& text);
};
