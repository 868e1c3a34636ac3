#include "tools/addonry/AddonryUndo.h"

#include <QSet>

#include <utility>

namespace AddonryUndo {

namespace {

const QString pluginsKey = QStringLiteral("plugins"), changedKey = QStringLiteral("changed");
const QString nameKey = QStringLiteral("name"), typeKey = QStringLiteral("type"),
              pathKey = QStringLiteral("fullPath"), disabledKey = QStringLiteral("disabled"),
              accessTypeKey = QStringLiteral("accessType");
constexpr qlonglong currentUser = 1;

QString textOf(const QVariantMap& plugin, const QString& key) {
    return plugin.value(key).toString();
}

qlonglong disabledOf(const QVariantMap& plugin) {
    return plugin.value(disabledKey).toLongLong() != 0;
}

/// 1 for the user's, 0 for everybody's.
qlonglong accessOf(const QVariantMap& plugin) {
    return plugin.value(accessTypeKey).toLongLong() == currentUser;
}

/// The folder that it lies in, whether that is for enabled plug-ins or not.
QString folderOf(const QVariantMap& plugin) {
    return textOf(plugin, pathKey).section(u'/', -2, -2).remove(QStringLiteral(" (Disabled)"));
}

bool isSameBundle(const QVariantMap& a, const QVariantMap& b) {
    return textOf(a, nameKey) == textOf(b, nameKey) && textOf(a, typeKey) == textOf(b, typeKey) &&
           textOf(a, pathKey).section(u'/', -1) == textOf(b, pathKey).section(u'/', -1);
}

/// One client may have the same plug-in twice, for its user and for all: the likelier one counts. What was
/// not changed is as it was.
int likeness(const QVariantMap& former, const QVariantMap& present, const QString& changedKey) {
    const int access = accessOf(former) == accessOf(present) ? 1 : 0;
    const int disabled = disabledOf(former) == disabledOf(present) ? 1 : 0;
    return (changedKey == accessTypeKey ? 0 : 2 * access) + (changedKey == disabledKey ? 0 : 2 * disabled) +
           int(folderOf(former) == folderOf(present));
}

QVariantMap remembered(const QVariantMap& plugin) {
    QVariantMap kept;
    for (const QString& key : {nameKey, typeKey, pathKey, disabledKey, accessTypeKey})
        kept.insert(key, plugin.value(key));
    return kept;
}

QVariantMap asUndo(const QVariantList& plugins, const QString& changed) {
    return plugins.isEmpty() ? QVariantMap() : QVariantMap{{pluginsKey, plugins}, {changedKey, changed}};
}

/// The present plug-ins that formers have become, each at most once.
class Matcher {
public:
    explicit Matcher(const QList<QVariantMap>& present) : m_present(present) {}

    [[nodiscard]] qsizetype takeAtItsPlace(const QVariantMap& former) {
        return take(former, [&](const QVariantMap& plugin) {
            return textOf(plugin, pathKey) == textOf(former, pathKey) ? 1 : -1;
        });
    }
    [[nodiscard]] qsizetype takeLikeliest(const QVariantMap& former, const QString& changed) {
        return take(former, [&](const QVariantMap& plugin) { return likeness(former, plugin, changed); });
    }

private:
    /// `score`: of one that is possible; negative: it is not.
    template <typename Score>
    qsizetype take(const QVariantMap& former, const Score& score) {
        qsizetype best = -1;
        int bestScore = -1;
        for (qsizetype i = 0; i < m_present.size(); ++i) {
            if (m_taken.contains(i) || !isSameBundle(former, m_present.at(i))) continue;
            const int likely = score(m_present.at(i));
            if (likely <= bestScore) continue;
            best = i;
            bestScore = likely;
        }
        if (best >= 0) m_taken.insert(best);
        return best;
    }

    const QList<QVariantMap>& m_present;
    QSet<qsizetype> m_taken;
};

}  // namespace

QVariantMap former(const QList<QVariantMap>& plugins, const QString& changed,
                   const std::function<bool(const QVariantMap& plugin)>& isMeant) {
    QVariantList kept;
    for (const QVariantMap& plugin : plugins)
        if (isMeant(plugin)) kept.append(remembered(plugin));
    return asUndo(kept, changed);
}

Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present) {
    Plan plan;
    const QString changed = textOf(undo, changedKey);
    Matcher matcher(present);
    QList<QVariantMap> moved;
    const QVariantList formers = undo.value(pluginsKey).toList();
    for (const QVariant& former : formers)
        if (matcher.takeAtItsPlace(former.toMap()) < 0) moved.append(former.toMap());
    QVariantList found;
    for (const QVariantMap& former : std::as_const(moved)) {
        const qsizetype place = matcher.takeLikeliest(former, changed);
        if (place < 0) {
            plan.missing.append(textOf(former, nameKey));
            continue;
        }
        const QVariantMap& plugin = present.at(place);
        // Nobody took back the other change.
        if (changed != accessTypeKey && disabledOf(plugin) != disabledOf(former))
            plan.enabling.append({plugin, disabledOf(former)});
        if (changed != disabledKey && accessOf(plugin) != accessOf(former))
            plan.access.append({plugin, accessOf(former)});
        found.append(remembered(plugin));
    }
    plan.undo = asUndo(found, changed);
    return plan;
}

}  // namespace AddonryUndo
