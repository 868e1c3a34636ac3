#include "app/window/OutcomeLook.h"

#include "runs/Outcome.h"
#include "widgets/CellDelegate.h"

namespace {

struct Mark {
    const char* symbol;
    Cell::Tone tone;
};

Mark markOf(int kind) {
    switch (static_cast<Outcome::Kind>(kind)) {
        case Outcome::Answered:
        case Outcome::Done:
            return {"ok", Cell::Tone::Good};
        case Outcome::LeftAlone:
        case Outcome::LeftOut:
        case Outcome::Skipped:
            return {"minus", Cell::Tone::Secondary};
        case Outcome::Cancelled:
            return {"cancel", Cell::Tone::Secondary};
        case Outcome::NotConnected:
            return {"disconnect", Cell::Tone::Warning};
        case Outcome::NoAnswer:
            return {"clock", Cell::Tone::Warning};
        case Outcome::Refused:
            return {"lock", Cell::Tone::Bad};
        case Outcome::Failed:
            break;
    }
    return {"error", Cell::Tone::Bad};
}

}  // namespace

OutcomeLook::OutcomeLook(int kindRole, int symbolColumn, QList<int> secondary, QObject* parent)
    : QIdentityProxyModel(parent),
      m_kindRole(kindRole),
      m_symbolColumn(symbolColumn),
      m_secondary(std::move(secondary)) {}

QVariant OutcomeLook::data(const QModelIndex& index, int role) const {
    const bool isSymbol = role == Cell::SymbolRole || role == Cell::SymbolToneRole;
    if (isSymbol && index.column() == m_symbolColumn) {
        const QVariant kind = QIdentityProxyModel::data(index, m_kindRole);
        if (!kind.isValid()) return {};
        const Mark mark = markOf(kind.toInt());
        return role == Cell::SymbolRole ? QVariant(QLatin1String(mark.symbol)) : QVariant(int(mark.tone));
    }
    if (role == Cell::ToneRole && m_secondary.contains(index.column())) return int(Cell::Tone::Secondary);
    return QIdentityProxyModel::data(index, role);
}
