#include "tools/Tool.h"

#include <QCoreApplication>

#define BUILT(word, name) Tool word##Tool();
#define PLANNED(word, title, subtitle, interval)
#include "common/ToolList.inc"
#undef BUILT
#undef PLANNED

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("ToolRegistry", text);
}

}  // namespace

#define BUILT(word, name) word##Tool(),
#define PLANNED(word, title, subtitle, interval) \
    Tool{QStringLiteral(#word), translated(title), translated(subtitle), interval},

const QList<Tool>& toolRegistry() {
    static const QList<Tool> tools = {
#include "common/ToolList.inc"
    };
    return tools;
}

QString toolTitle(const QString& identifier) {
    for (const Tool& tool : toolRegistry())
        if (tool.identifier == identifier) return tool.title;
    return {};
}
