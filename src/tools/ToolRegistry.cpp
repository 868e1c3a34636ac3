#include "tools/Tool.h"
#include "tools/addonry/AddonryController.h"
#include "tools/addonry/AddonryPane.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/cronwell/CronwellPane.h"
#include "tools/settlekeep/SettlekeepController.h"
#include "tools/settlekeep/SettlekeepPane.h"

namespace {

/// `refreshInterval`: seconds between two refreshes of the visible pane; 0 for none by itself.
Tool listed(const char* identifier, const char* title, const char* subtitle, int refreshInterval = 0) {
    Tool tool;
    tool.identifier = QLatin1String(identifier);
    tool.title = QString::fromUtf8(title);
    tool.subtitle = QString::fromUtf8(subtitle);
    tool.iconName = tool.identifier;
    tool.refreshInterval = refreshInterval;
    return tool;
}

template <typename Controller>
Tool built(Tool tool, QWidget* (*makePane)(ToolController&, QWidget*)) {
    tool.makeController = [](const ToolContext& context) -> std::unique_ptr<ToolController> {
        return std::make_unique<Controller>(context);
    };
    tool.makePane = makePane;
    return tool;
}

}  // namespace

const QList<Tool>& toolRegistry() {
    static const QList<Tool> tools = {
        built<SettlekeepController>(
            listed("settlekeep", "Settlekeep", "Back up, restore, lock and trash application preferences"),
            makeSettlekeepPane),
        built<AddonryController>(
            listed("addonry", "Addonry", "Compare, enable and synchronise the plug-ins of the editing suite"),
            makeAddonryPane),
        built<CronwellController>(listed("cronwell", "Cronwell", "Schedule maintenance tasks"),
                                  makeCronwellPane),
        listed("faultscope", "Faultscope", "Collect, analyse and submit crash logs", 300),
        listed("varispot", "Varispot", "Compare working machines with failing ones"),
        listed("tidyhand", "Tidyhand", "Clean caches and clutter"),
        listed("purgewright", "Purgewright", "Remove applications with everything that belongs to them"),
        listed("qmaster", "Qmaster", "Control render sharing and jobs", 60),
        listed("encodemend", "Encodemend", "Find and repair encoder problems"),
        listed("snapmend", "Snapmend", "Fix common faults with one click"),
        listed("routemark", "Routemark", "Edit and synchronise media and scratch paths"),
        listed("hostbench", "Hostbench", "Trash caches and set up applications"),
        listed("applications", "Corvalin Applications", "Launch and quit the applications of the suite", 30),
        listed("studio", "Final Cut Studio", "Launch, quit and force-quit the editing applications", 30),
        listed("clientsettings", "Client Settings", "Change the settings of the agents"),
    };
    return tools;
}
