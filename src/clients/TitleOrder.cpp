#include "clients/TitleOrder.h"

#include <QCollator>
#include <QLocale>

namespace TitleOrder {
namespace {

const QCollator& collator() {
    static thread_local const QCollator collator = [] {
        const bool hasRules = QLocale().language() != QLocale::C;
        QCollator made(hasRules ? QLocale() : QLocale(QLocale::English));
        made.setNumericMode(true);
        made.setCaseSensitivity(Qt::CaseInsensitive);
        return made;
    }();
    return collator;
}

}  // namespace

int compare(const QString& a, const QString& b) {
    return collator().compare(a, b);
}

QCollatorSortKey sortKey(const QString& name) {
    return collator().sortKey(name);
}

}  // namespace TitleOrder
