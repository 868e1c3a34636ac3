#include "app/window/WelcomeSheet.h"

#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

WelcomeSheet::WelcomeSheet(QWidget* parent) : Sheet(tr("Welcome to Orlendo"), {}, parent) {
    setObjectName(QStringLiteral("welcomeSheet"));
    addStep(QStringLiteral("computers"), tr("Computers appear by themselves"),
            tr("Every workstation on the network that runs the client agent is listed at the left. "
               "Add others by their address with Add Computer."));
    addStep(QStringLiteral("check"), tr("Select what to work on"),
            tr("One computer, several, or All Computers. What you do then happens on each of them."));
    addStep(QStringLiteral("toolbox"), tr("Choose a tool"),
            tr("Its results from all selected computers are merged into one list that shows "
               "where they differ."));
    addPrimaryButton(tr("Get Started"));
    setFixedWidth(480);
}

void WelcomeSheet::addStep(const QString& symbol, const QString& title, const QString& text) {
    auto* picture = new QLabel(this);
    picture->setPixmap(symbolPixmap(symbol, themeColors().accent, 28, devicePixelRatioF()));
    auto* heading = new QLabel(title, this);
    heading->setFont(themeFont(1.0, QFont::DemiBold));
    auto* words = new QLabel(text, this);
    words->setWordWrap(true);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(heading);
    texts->addWidget(words);
    auto* row = new QHBoxLayout;
    row->setSpacing(Metrics::unit * 2);
    row->addWidget(picture, 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    body()->addLayout(row);
    body()->addSpacing(Metrics::unit);
}
