#pragma once

#include "support/ToolBench.h"
#include "tools/addonry/AddonryController.h"

inline QVariantMap plugin(const QString& name, const QString& version = QStringLiteral("1.0"),
                          bool disabled = false, int accessType = 2) {
    return {{QStringLiteral("name"), name},
            {QStringLiteral("version"), version},
            {QStringLiteral("type"), QStringLiteral("FxPlug")},
            {QStringLiteral("fullPath"), QStringLiteral("/Library/Plug-Ins/FxPlug/") + name},
            {QStringLiteral("disabled"), int(disabled)},
            {QStringLiteral("accessType"), accessType}};
}

inline FakeProxy::Answer answering(const QVariant& answer) {
    return [answer](const QString& selector, const QVariantList&) {
        return selector == QLatin1String("addonryPluginList") ? answer : QVariant();
    };
}

struct AddonryBench : ToolBench {
    AddonryController controller{context()};

    bool refresh() {
        return run([this] { controller.refresh(); });
    }
    [[nodiscard]] const VLPluginItem* row(const QString& name) const {
        for (const VLPluginItem& item : controller.addonryArray())
            if (item.name() == name) return &item;
        return nullptr;
    }
};
