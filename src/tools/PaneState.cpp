#include "tools/PaneState.h"

#include "tools/Tool.h"
#include "widgets/EmptyState.h"

#include <algorithm>

void showWhyEmpty(EmptyState& empty, const ToolController& controller, const PaneWords& words,
                  bool isFiltered) {
    const QList<VLServicePtr> selected = controller.context().selectedServices();
    const bool anyConnected = std::any_of(selected.begin(), selected.end(),
                                          [](const VLServicePtr& service) { return service->isConnected(); });
    empty.setButtonText(isFiltered ? QStringLiteral("Show All") : QString());
    if (isFiltered) {
        empty.setContents(QStringLiteral("search"), QStringLiteral("No matching %1").arg(words.singular),
                          QStringLiteral("No %1 passes the filter.").arg(words.singular));
    } else if (selected.isEmpty()) {
        empty.setContents(words.symbol, QStringLiteral("Select computers to list their %1").arg(words.plural),
                          QStringLiteral("Select one or more in the list on the left, or All Computers."));
    } else if (controller.isBusy()) {
        empty.setBusy(QStringLiteral("Reading %1…").arg(words.plural));
    } else if (!anyConnected) {
        empty.setContents(words.symbol,
                          selected.size() == 1 ? QStringLiteral("The selected computer is not connected")
                                               : QStringLiteral("The selected computers are not connected"),
                          QStringLiteral("%1 are read as soon as a computer is connected.").arg(words.title));
    } else if (controller.hasResult()) {
        empty.setContents(words.symbol,
                          QStringLiteral("No %1 found on the selected computers").arg(words.plural),
                          words.whenNone);
    } else {
        empty.setContents(words.symbol, QStringLiteral("%1 have not been read yet").arg(words.title),
                          QStringLiteral("Choose Refresh to read them from the selected computers."));
    }
}
