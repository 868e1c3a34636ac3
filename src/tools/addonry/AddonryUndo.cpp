#include "tools/addonry/AddonryUndo.h"

#include <QSet>

#include <utility>

namespace AddonryUndo {

namespace {

const QString pluginsKey = QStringLiteral("plugins");
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

QString folderOf(const QVariantMap& plugin) {
    return textOf(plugin, pathKey).section(u'/', -2, -2);
}

bool isSameBundle(const QVariantMap& a, const QVariantMap& b) {
    return textOf(a, nameKey) == textOf(b, nameKey) && textOf(a, typeKey) == textOf(b, typeKey) &&
           textOf(a, pathKey).section(u'/', -1) == textOf(b, pathKey).section(u'/', -1);
}

/// One client may have the same plug-in twice, for its user and for all: the likelier one counts.
int likeness(const QVariantMap& former, const QVariantMap& present) {
    return int(accessOf(former) == accessOf(present)) + int(disabledOf(former) == disabledOf(present)) +
           int(folderOf(former) == folderOf(present));
}

QVariantMap remembered(const QVariantMap& plugin) {
    QVariantMap kept;
    for (const QString& key : {nameKey, typeKey, pathKey, disabledKey, accessTypeKey})
        kept.insert(key, plugin.value(key));
    return kept;
}

QVariantMap asUndo(const QVariantList& plugins) {
    return plugins.isEmpty() ? QVariantMap() : QVariantMap{{pluginsKey, plugins}};
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
    [[nodiscard]] qsizetype takeLikeliest(const QVariantMap& former) {
        return take(former, [&](const QVariantMap& plugin) { return likeness(former, plugin); });
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

QVariantMap former(const QList<QVariantMap>& plugins,
                   const std::function<bool(const QVariantMap& plugin)>& isMeant) {
    QVariantList kept;
    for (const QVariantMap& plugin : plugins)
        if (isMeant(plugin)) kept.append(remembered(plugin));
    return asUndo(kept);
}

Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present) {
    Plan plan;
    Matcher matcher(present);
    QList<QVariantMap> moved;
    const QVariantList formers = undo.value(pluginsKey).toList();
    for (const QVariant& former : formers)
        if (matcher.takeAtItsPlace(former.toMap()) < 0) moved.append(former.toMap());
    QVariantList changed;
    for (const QVariantMap& former : std::as_const(moved)) {
        const qsizetype place = matcher.takeLikeliest(former);
        if (place < 0) {
            plan.missing.append(textOf(former, nameKey));
            continue;
        }
        const QVariantMap& plugin = present.at(place);
        if (disabledOf(plugin) != disabledOf(former)) plan.enabling.append({plugin, disabledOf(former)});
        if (accessOf(plugin) != accessOf(former)) plan.access.append({plugin, accessOf(former)});
        changed.append(remembered(plugin));
    }
    plan.undo = asUndo(changed);
    return plan;
}

}  // namespace AddonryUndo
