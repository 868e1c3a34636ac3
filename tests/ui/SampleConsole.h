#pragma once

#include "app/AppController.h"
#include "app/window/MainWindow.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "support/SampleService.h"
#include "tools/addonry/AddonryController.h"

#include <memory>

inline QVariantMap pluginInstance(const QString& name, const QString& type, const QString& version,
                                  int disabled = 0, int accessType = 0) {
    const QString folder = accessType == 1 ? u"/Users/editor/Library/Plug-Ins/"_s : u"/Library/Plug-Ins/"_s;
    return {{u"name"_s, name},
            {u"type"_s, type},
            {u"version"_s, version},
            {u"disabled"_s, disabled},
            {u"accessType"_s, accessType},
            {u"fullPath"_s, QString(folder + type + u'/' + name + u".plugin"_s)}};
}

/// Marks the row as missing on `hostName`.
inline void addMissing(VLPluginItem& row, const QString& hostName) {
    QVariantList missing = row.missingHosts();
    missing << QVariantMap{{u"hostname"_s, hostName},
                           {u"disabled"_s, -1},
                           {u"version"_s, QString()},
                           {u"type"_s, row.type()},
                           {u"name"_s, row.name()}};
    row.setMissingHosts(missing);
    row.setState(VLPluginItem::Missing);
}

/// Shows what it is given: its refreshes read nothing.
class QuietAddonry : public AddonryController {
public:
    using AddonryController::AddonryController;
    void refresh() override {}
};

inline QList<Tool> sampleTools() {
    QList<Tool> tools = toolRegistry();
    for (Tool& tool : tools) {
        if (tool.identifier != "addonry"_L1) continue;
        tool.makeController = [](const ToolContext& context) {
            return std::make_unique<QuietAddonry>(context);
        };
    }
    return tools;
}

/// A console with its window, made by the real controller, without discovery.
class SampleConsole {
public:
    /// False when the controller could not start.
    bool start() {
        AppServices services = AppServices::standard();
        services.canAuthenticate = false;  // whatever this machine has
        controller = std::make_unique<AppController>(sampleTools(), services);
        controller->setBrowses(false);
        controller->setUnattended(true);
        if (!controller->init()) return false;
        // Whoever looks at what was done says what that is.
        controller->taskThreads().runs().keepRecords({}, {});
        window = std::make_unique<MainWindow>(*controller);
        controller->awakeFromNib();
        window->showTool(u"addonry"_s);
        return true;
    }
    /// False when workers were left behind.
    bool end() {
        window.reset();
        const bool hasEnded = controller->shutDown();
        controller.reset();
        VLThread::reset();
        MainThread::resume();
        return hasEnded;
    }
    std::shared_ptr<SampleService> add(const QString& name, const QString& address,
                                       const QString& model = {}) {
        auto service = std::make_shared<SampleService>(name, address, model);
        controller->services().addServiceToList(service);
        return service;
    }
    [[nodiscard]] AddonryController& addonry() {
        return *static_cast<AddonryController*>(controller->toolSet().toolController(u"addonry"_s));
    }
    template <typename Widget>
    [[nodiscard]] Widget* find(const char* name) const {
        return window->findChild<Widget*>(QLatin1String(name));
    }

    std::unique_ptr<AppController> controller;
    std::unique_ptr<MainWindow> window;
};
