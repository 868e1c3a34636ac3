#include "app/window/ToolList.h"

#include "widgets/RowPatch.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace {
constexpr int iconSize = 22;
}

ToolListModel::ToolListModel(QList<Tool> tools, QObject* parent)
    : QAbstractListModel(parent), m_tools(std::move(tools)) {}

int ToolListModel::rowOf(const QString& identifier) const {
    const auto found = std::find_if(m_tools.begin(), m_tools.end(),
                                    [&](const Tool& tool) { return tool.identifier == identifier; });
    return found == m_tools.end() ? -1 : int(found - m_tools.begin());
}

int ToolListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_tools.size());
}

QVariant ToolListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Tool& tool = m_tools.at(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return tool.title;
        case Qt::ToolTipRole:
            return QStringLiteral("%1\n%2").arg(tool.title, tool.subtitle);
        case Qt::AccessibleDescriptionRole:
            return tool.subtitle;
        case IdentifierRole:
            return tool.identifier;
        case IconPathRole:
            return QStringLiteral(":/icons/tools/%1.svg").arg(tool.identifier);
        case IsBuiltRole:
            return bool(tool.makeController);
        default:
            return {};
    }
}

void ToolRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    painter->save();
    paintRowPatch(painter, option);
    const QRect content = option.rect.adjusted(Metrics::unit * 2, 0, -Metrics::unit * 2, 0);
    QRectF icon(content.left(), 0, iconSize, iconSize);
    icon.moveTop(content.center().y() - iconSize / 2.0 + 0.5);
    paintDrawing(painter, icon, index.data(ToolListModel::IconPathRole).toString());

    const bool selected = option.state & QStyle::State_Selected;
    const QFont font = themeFont(1.0, selected ? QFont::DemiBold : QFont::Normal);
    const QRect text = content.adjusted(iconSize + 10, 0, 0, 0);
    painter->setFont(font);
    painter->setPen(themeColors().text);
    painter->drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
                      QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    painter->restore();
}

QSize ToolRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {0, qMax(option.fontMetrics.height() + 18, 36)};
}

ToolList::ToolList(QList<Tool> tools, QWidget* parent)
    : QWidget(parent), m_model(new ToolListModel(std::move(tools), this)), m_view(new QListView(this)) {
    setObjectName(QStringLiteral("toolList"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Metrics::unit / 2);

    auto* heading = new QLabel(tr("Tools"), this);
    heading->setFont(themeFont(1.0, QFont::DemiBold));
    heading->setContentsMargins(Metrics::unit * 2, Metrics::unit * 2.5, Metrics::unit * 2, Metrics::unit);
    heading->setBuddy(m_view);
    layout->addWidget(heading);
    layout->addWidget(m_view, 1);

    m_view->setObjectName(QStringLiteral("toolView"));
    m_view->setAccessibleName(tr("Tools"));
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setModel(m_model);
    m_view->setItemDelegate(new ToolRowDelegate(m_view));
    m_view->setUniformItemSizes(true);
    m_view->setMouseTracking(true);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_view->viewport()->setAutoFillBackground(false);
    setFocusProxy(m_view);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid())
                    Q_EMIT toolSelected(current.data(ToolListModel::IdentifierRole).toString());
            });
}

void ToolList::select(const QString& identifier) {
    const int row = m_model->rowOf(identifier);
    if (row >= 0) m_view->setCurrentIndex(m_model->index(row));
}

QString ToolList::selectedIdentifier() const {
    return m_view->currentIndex().data(ToolListModel::IdentifierRole).toString();
}

void ToolList::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), themeColors().sidebar);
}
