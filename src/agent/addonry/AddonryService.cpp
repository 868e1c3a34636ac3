#include "agent/addonry/AddonryService.h"

#include "agent/AgentContext.h"
#include "agent/addonry/PluginCatalog.h"
#include "agent/addonry/PluginChanges.h"
#include "agent/addonry/PluginPlaces.h"
#include "agent/dispatch/OperationTable.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "system/VLException.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>

namespace {

const QString pathKey = QStringLiteral("fullPath");
const QString typeKey = QStringLiteral("type");

using PluginCatalog::AccessType;

QString textIn(const QVariantMap& values, const QString& key) {
    return VLCorvalinServerProtocol::textValue(values.value(key));
}

/// A number or a truth value; nothing for anything else.
std::optional<qlonglong> numberIn(const QVariantMap& values, const char* key) {
    const QVariant value = values.value(QLatin1String(key));
    switch (value.typeId()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::Double:
            return VLCorvalinServerProtocol::integerValue(value);
        default:
            return std::nullopt;
    }
}

AccessType accessTypeFor(qlonglong number) {
    return number == PluginCatalog::CurrentUser ? PluginCatalog::CurrentUser : PluginCatalog::AllUsers;
}

/// What a change is asked to arrive at; what is not to change is empty.
struct Destination {
    std::optional<bool> disabled;
    std::optional<AccessType> accessType;
};

PluginChanges::Move moveTo(const PluginPlaces& places, const PluginPlace& from, const Destination& to) {
    return {from,
            places.moved(from, to.disabled.value_or(from.disabled), to.accessType.value_or(from.accessType))};
}

/// What this computer cannot do as it is asked is refused (see AgentRoot); missing rights and a disk that
/// does not take a change are failures.
class Service {
public:
    explicit Service(AgentContext& agent) : m_agent(agent) {
        try {
            changes().recover();
        } catch (const VLException& error) {
            VLLog::appendLog(error.reason());  // the next change tries again
        }
    }

    QVariant list(quint64 peer) const {
        const QVariantList plugins = PluginCatalog::list(m_agent.tree, m_agent.consoleUser());
        if (plugins.size() >= PluginCatalog::maximumPlugins)
            m_agent.log.append(peer, QStringLiteral("Only the first %i plug-ins are listed."),
                               PluginCatalog::maximumPlugins);
        return plugins;
    }

    QVariant data(const QVariant& path) {
        const std::lock_guard lock(m_mutex);  // not while it is being replaced
        return changes().pack(places().at(path.toString()));
    }

    QVariant install(const QVariantMap& plugin, const QByteArray& archive) {
        const auto lock = beginChange();
        const PluginPlaces here = places();
        const QString fileName = textIn(plugin, pathKey).section(u'/', -1);
        const PluginPlace place = here.placeForNew(textIn(plugin, typeKey), fileName);
        const auto before = here.find(place.path);
        // One that was disabled is installed anew and enabled; there are not two of them afterwards.
        const bool wasDisabled = before && before->disabled;
        changes().install(here, place, archive, wasDisabled ? before->path : QString());
        return {};
    }

    QVariant update(const OperationCall& call) {
        const QVariantMap objects = call.arguments.at(1).toMap();
        const QVariant archive = objects.value(QStringLiteral("obj2"));
        if (archive.typeId() != QMetaType::QByteArray)
            throw VLException(VLException::refused, QStringLiteral("There is no plug-in to install"));
        const QString path = textIn(objects.value(QStringLiteral("obj1")).toMap(), pathKey);
        const PluginPlace place = places().at(path);
        if (place.isMachineWide()) requireAdministrator(call);
        const auto lock = beginChange();
        const PluginPlaces here = places();
        // Somebody may have moved it while the password was checked.
        if (here.at(path).path != place.path)
            throw VLException(VLException::refused,
                              QStringLiteral("The plug-in at %1 was moved meanwhile").arg(place.path));
        changes().install(here, place, archive.toByteArray());
        return {};
    }

    QVariant change(const OperationCall& call, const Destination& destination) {
        const QList<PluginChanges::Move> moves = movesFor(call, destination);
        const bool needsRights =
            std::any_of(moves.begin(), moves.end(), [](const auto& move) { return move.touchesMachine(); });
        if (needsRights) requireAdministrator(call);
        const auto lock = beginChange();
        changes().move(moves);
        return {};
    }

    QVariant needsAdministrator(const QVariantList& plugins, const QVariantMap& settings) const {
        Destination to;
        if (const auto disabled = numberIn(settings, "destDisabled")) to.disabled = *disabled != 0;
        if (const auto access = numberIn(settings, "destAccess")) to.accessType = accessTypeFor(*access);
        const bool isUpdate = !to.disabled && !to.accessType;
        const PluginPlaces here = places();
        return std::any_of(plugins.begin(), plugins.end(), [&](const QVariant& plugin) {
            // The consoles ask every machine about the plug-ins of all.
            const auto place = here.find(textIn(plugin.toMap(), pathKey));
            if (!place) return false;
            if (isUpdate) return place->isMachineWide();
            if (isThere(*place, to)) return false;
            return place->isMachineWide() || to.accessType == PluginCatalog::AllUsers;
        });
    }

private:
    [[nodiscard]] PluginChanges changes() const {
        return {m_agent.tree, m_agent.settings.stateDirectory, m_agent.consoleUser()};
    }
    /// Nothing is changed before what was begun earlier is completed.
    [[nodiscard]] std::unique_lock<std::mutex> beginChange() {
        std::unique_lock lock(m_mutex);
        changes().recover();
        return lock;
    }
    [[nodiscard]] PluginPlaces places() const { return {m_agent.tree, m_agent.consoleUser()}; }

    /// What is touched decides, not the way in which the console sent it.
    void requireAdministrator(const OperationCall& call) const {
        m_agent.administrators.requireAdministrator(call.peer, call.arguments.at(0));
    }

    [[nodiscard]] static bool isThere(const PluginPlace& place, const Destination& to) {
        return to.disabled.value_or(place.disabled) == place.disabled &&
               to.accessType.value_or(place.accessType) == place.accessType;
    }

    /// "obj1" names one plug-in; without it all are meant.
    [[nodiscard]] static QList<PluginPlace> chosen(const OperationCall& call, const PluginPlaces& here,
                                                   const Destination& destination) {
        const QVariant object = call.arguments.at(1).toMap().value(QStringLiteral("obj1"));
        if (!object.isValid()) return here.all();
        const QString path = VLCorvalinServerProtocol::textValue(object);
        if (const auto place = here.find(path)) return {*place};
        // An authorised call goes to every selected computer: to those that lack the plug-in, and before the
        // console comes to them by themselves.
        if (call.arguments.at(0).isValid() && here.isPossible(path)) return {};
        const auto moved = here.findForOthers(path);
        if (moved && destination.accessType == moved->accessType) return {};
        return {here.at(path)};
    }

    [[nodiscard]] QList<PluginChanges::Move> movesFor(const OperationCall& call,
                                                      const Destination& destination) const {
        const PluginPlaces here = places();
        const QList<PluginPlace> plugins = chosen(call, here, destination);
        QList<PluginChanges::Move> moves;
        for (const PluginPlace& place : plugins)
            if (!isThere(place, destination)) moves.append(moveTo(here, place, destination));
        return moves;
    }

    AgentContext& m_agent;
    std::mutex m_mutex;  ///< held by whoever changes plug-ins
};

qlonglong requireNumber(const OperationCall& call) {
    if (const auto number = numberIn(call.arguments.at(1).toMap(), "obj2")) return *number;
    throw VLException(VLException::refused, QStringLiteral("\"obj2\" is no number"));
}

}  // namespace

void addAddonryOperations(OperationTable& table, AgentContext& agent) {
    const auto service = std::make_shared<Service>(agent);
    table.add(QStringLiteral("addonryPluginList"),
              [service](const OperationCall& call) { return service->list(call.peer); });
    table.add(QStringLiteral("addonryPluginData:"),
              [service](const OperationCall& call) { return service->data(call.arguments.at(0)); });
    table.add(QStringLiteral("addonryInstallPlugin:withData:"), [service](const OperationCall& call) {
        return service->install(call.arguments.at(0).toMap(), call.arguments.at(1).toByteArray());
    });
    table.add(QStringLiteral("addonryUpdatePlugin:settings:"),
              [service](const OperationCall& call) { return service->update(call); });
    table.add(QStringLiteral("addonryEnablePlugin:settings:"), [service](const OperationCall& call) {
        return service->change(call, {.disabled = requireNumber(call) != 0, .accessType = {}});
    });
    table.add(QStringLiteral("addonryChangeAccess:settings:"), [service](const OperationCall& call) {
        return service->change(call, {.disabled = {}, .accessType = accessTypeFor(requireNumber(call))});
    });
    table.add(QStringLiteral("addonryNeedsAdminAccess:settings:"), [service](const OperationCall& call) {
        return service->needsAdministrator(call.arguments.at(0).toList(), call.arguments.at(1).toMap());
    });
}
