#pragma once

#include <QString>

class EmptyState;
class ToolController;

/// What a pane calls the things that it lists.
struct PaneWords {
    QString singular, plural;  ///< "plug-in", "plug-ins"
    QString title;             ///< "Plug-ins"
    QString symbol;            ///< of the pane while it is empty
    QString whenNone = {};     ///< what to do where the computers have none
};

/// Says why there is nothing to see, and what to do about it. `isFiltered`: there is something, but the
/// filter hides it.
void showWhyEmpty(EmptyState& empty, const ToolController& controller, const PaneWords& words,
                  bool isFiltered);
