#include "clients/view/ClientRowDelegate.h"

#include "clients/view/ClientOutlineModel.h"
#include "foundation/VLNotificationCenter.h"
#include "widgets/Badge.h"
#include "widgets/RowPatch.h"
#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPixmapCache>

namespace {

constexpr int pictureSize = 36;
constexpr int markSize = 10;
constexpr int smallSymbol = 16;
constexpr int groupSymbol = 20;

QColor markColor(int kind) {
    const ThemeColors& c = themeColors();
    switch (kind) {
        case ClientState::Connected:
        case ClientState::Working:
            return c.good;
        case ClientState::Connecting:
            return c.info;
        case ClientState::Attention:
            return c.warning;
        default:
            return blended(c.sidebar, c.faintText, 0.8);
    }
}

/// A machine's picture at the size shown, kept between paintings.
QPixmap scaledPicture(const QImage& picture, double ratio) {
    const QString key = QStringLiteral("machine|%1|%2").arg(picture.cacheKey()).arg(ratio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) return pixmap;
    const QSize size = QSize(pictureSize, pictureSize) * ratio;
    pixmap = QPixmap::fromImage(picture.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(ratio);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void paintGroup(QPainter* painter, const QRect& content, const QModelIndex& index) {
    const ThemeColors& c = themeColors();
    const QString count = QString::number(index.data(ClientOutlineModel::CountRole).toInt());
    QRect rest = content;
    QRectF symbol(content.left() + (pictureSize - groupSymbol) / 2.0, 0, groupSymbol, groupSymbol);
    symbol.moveTop(content.center().y() - groupSymbol / 2.0 + 0.5);
    paintSymbol(painter, symbol, QStringLiteral("computers"), c.accent);
    rest.setLeft(content.left() + pictureSize + 10);
    const int badge = paintBadge(painter, rest, count, blended(c.sidebar, c.text, 0.1), c.secondaryText);
    rest.setRight(rest.right() - badge - Metrics::unit);
    const QFont font = themeFont(1.0, QFont::DemiBold);
    painter->setFont(font);
    painter->setPen(c.text);
    const QString name = index.data().toString();
    painter->drawText(rest, Qt::AlignVCenter | Qt::AlignLeft,
                      QFontMetrics(font).elidedText(name, Qt::ElideRight, rest.width()));
}

QRect contentOf(const QRect& row) {
    return row.adjusted(Metrics::unit * 2, 0, -Metrics::unit * 2, 0);
}

/// The text of a badge; empty when there is none.
QString badgeText(const QModelIndex& index, int role) {
    const qlonglong count = index.data(role).toLongLong();
    if (count <= 0) return {};
    return count > 99 ? QStringLiteral("99+") : QString::number(count);
}

/// The marks at the right end, each as high as the row, from right to left; those not shown are empty.
struct Marks {
    QRect spinner, errors, updates, maintenance;
    int begin = 0;  ///< the x at which they begin

    Marks(const QRect& content, const QModelIndex& index) : begin(content.right()) {
        const auto take = [&](QRect& mark, int width) {
            mark = QRect(begin + 1 - width, content.top(), width, content.height());
            begin -= width + Metrics::unit / 2;
        };
        if (index.data(ClientOutlineModel::SpinningRole).toBool()) take(spinner, smallSymbol);
        const QString errorText = badgeText(index, ClientOutlineModel::ErrorCountRole);
        if (!errorText.isEmpty()) take(errors, badgeWidth(errorText));
        const QString updateText = badgeText(index, ClientOutlineModel::UpdateCountRole);
        if (!updateText.isEmpty()) take(updates, badgeWidth(updateText));
        if (index.data(ClientOutlineModel::MaintenanceRole).toBool()) take(maintenance, smallSymbol);
    }
};

/// Returns the x at which the marks begin.
int paintMarks(QPainter* painter, const QRect& content, const QModelIndex& index) {
    const ThemeColors& c = themeColors();
    const Marks marks(content, index);
    const auto symbolRect = [](const QRect& mark) {
        QRectF square(mark.left(), 0, smallSymbol, smallSymbol);
        square.moveTop(mark.center().y() - smallSymbol / 2.0 + 0.5);
        return square;
    };
    if (!marks.spinner.isEmpty()) {
        const QRectF square = symbolRect(marks.spinner).adjusted(1, 1, -1, -1);
        paintSpinner(painter, square, spinnerPhase(), c.accent);
    }
    if (!marks.errors.isEmpty()) {
        const QColor ground = blended(c.sidebar, c.bad, c.dark ? 0.28 : 0.16);
        paintBadge(painter, marks.errors, badgeText(index, ClientOutlineModel::ErrorCountRole), ground,
                   c.bad);
    }
    if (!marks.updates.isEmpty()) {
        paintBadge(painter, marks.updates, badgeText(index, ClientOutlineModel::UpdateCountRole), c.accent,
                   c.accentText);
    }
    if (!marks.maintenance.isEmpty())
        paintSymbol(painter, symbolRect(marks.maintenance), QStringLiteral("maintenance"), c.warning);
    return marks.begin;
}

void paintPicture(QPainter* painter, const QRect& square, const QModelIndex& index, const QColor& ground) {
    const ThemeColors& c = themeColors();
    const int kind = index.data(ClientOutlineModel::StateKindRole).toInt();
    const QImage picture = index.data(ClientOutlineModel::PictureRole).value<QImage>();
    const bool away = kind == ClientState::NotConnected || kind == ClientState::Connecting;
    painter->save();
    if (away) painter->setOpacity(0.55);
    if (picture.isNull()) {
        paintSymbol(painter, QRectF(square).adjusted(5, 5, -5, -5), QStringLiteral("computer"),
                    c.secondaryText);
    } else {
        const QPixmap pixmap = scaledPicture(picture, painter->device()->devicePixelRatioF());
        QRectF place(QPointF(0, 0), pixmap.deviceIndependentSize());
        place.moveCenter(QRectF(square).center());
        painter->drawPixmap(place.topLeft(), pixmap);
    }
    painter->restore();
    const QRectF mark(square.right() - markSize + 3, square.bottom() - markSize + 1, markSize, markSize);
    painter->setPen(Qt::NoPen);
    painter->setBrush(ground);
    painter->drawEllipse(mark.adjusted(-2, -2, 2, 2));
    painter->setBrush(markColor(kind));
    painter->drawEllipse(mark.adjusted(0.5, 0.5, -0.5, -0.5));
}

void paintMachine(QPainter* painter, const QRect& content, const QModelIndex& index, const QColor& ground) {
    const ThemeColors& c = themeColors();
    QRect square(content.left(), 0, pictureSize, pictureSize);
    square.moveTop(content.center().y() - pictureSize / 2 + 1);
    paintPicture(painter, square, index, ground);

    const int left = square.right() + 11;
    const int width = paintMarks(painter, content, index) - Metrics::unit / 2 - left;
    const QFont nameFont = themeFont(1.0, QFont::Medium), stateFont = themeFont(0.9);
    const QFontMetrics nameMetrics(nameFont), stateMetrics(stateFont);
    const int height = nameMetrics.height() + 1 + stateMetrics.height();
    int top = content.center().y() - height / 2;

    painter->setFont(nameFont);
    painter->setPen(c.text);
    painter->drawText(QRect(left, top, width, nameMetrics.height()), Qt::AlignVCenter,
                      nameMetrics.elidedText(index.data().toString(), Qt::ElideRight, width));
    top += nameMetrics.height() + 1;
    const bool attention = index.data(ClientOutlineModel::StateKindRole).toInt() == ClientState::Attention;
    painter->setFont(stateFont);
    painter->setPen(attention ? c.warning : c.secondaryText);
    painter->drawText(QRect(left, top, width, stateMetrics.height()), Qt::AlignVCenter,
                      stateMetrics.elidedText(index.data(ClientOutlineModel::StateTextRole).toString(),
                                              Qt::ElideRight, width));
}

}  // namespace

void ClientRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    painter->save();
    const QColor ground = paintRowPatch(painter, option);
    const QRect content = contentOf(option.rect);
    if (index.data(ClientOutlineModel::IsGroupRole).toBool())
        paintGroup(painter, content, index);
    else
        paintMachine(painter, content, index, ground);
    painter->restore();
}

QRect ClientRowDelegate::updateBadge(const QRect& row, const QModelIndex& index) {
    return Marks(contentOf(row), index).updates;
}

bool ClientRowDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                    const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() == QEvent::MouseButtonRelease) {
        const auto* mouse = static_cast<const QMouseEvent*>(event);
        const QVariant service = index.data(ClientOutlineModel::ServiceRole);
        if (mouse->button() == Qt::LeftButton &&
            updateBadge(option.rect, index).contains(mouse->position().toPoint())) {
            VLNotificationCenter::defaultCenter().postNotification(QStringLiteral("VLTableBadgeClicked"), {},
                                                                   {{QStringLiteral("service"), service}});
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}

QSize ClientRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int line = QFontMetrics(option.font).height();
    const bool group = index.data(ClientOutlineModel::IsGroupRole).toBool();
    return {0, group ? qMax(line + 20, 38) : qMax(line * 2 + 16, pictureSize + 16)};
}
