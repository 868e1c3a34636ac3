#include "clients/view/ClientRowDelegate.h"

#include "clients/view/ClientOutlineModel.h"
#include "clients/view/ClientTreeView.h"
#include "widgets/Badge.h"
#include "widgets/RowPatch.h"
#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPixmapCache>
#include <QToolTip>

namespace {

constexpr int pictureSize = 36;
constexpr int markSize = 10;
constexpr int smallSymbol = 16;
constexpr int groupSymbol = 20;
constexpr int triangleSize = 14;
constexpr int textGap = 11;  ///< between a picture and the text
constexpr int editorHeight = 28;
constexpr int longestGroupName = 255;
constexpr auto problemProperty = "problem";

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

/// The name of a group begins where those of the machines do.
QRect groupTextRect(const QRect& row, const QString& count) {
    const QRect content = contentOf(row);
    return content.adjusted(pictureSize + textGap - 1, 0, -badgeWidth(count) - Metrics::unit, 0);
}

QString countOf(const QModelIndex& index) {
    return QString::number(index.data(ClientOutlineModel::CountRole).toInt());
}

bool isAllComputers(const QModelIndex& index) {
    return !index.data(ClientOutlineModel::GroupRole).value<VLServiceGroupPtr>();
}

void paintGroup(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) {
    const ThemeColors& c = themeColors();
    const QRect content = contentOf(option.rect);
    const auto centred = [&](double left, double size) {
        return QRectF(left, content.center().y() - size / 2.0 + 0.5, size, size);
    };
    const QRect triangle = ClientRowDelegate::triangleArea(option.rect);
    paintSymbol(painter, centred(triangle.center().x() - triangleSize / 2.0 + 1, triangleSize),
                option.state & QStyle::State_Open ? QStringLiteral("next") : QStringLiteral("forward"),
                c.secondaryText);
    const bool all = isAllComputers(index);
    paintSymbol(painter, centred(content.left() + pictureSize - groupSymbol, groupSymbol),
                all ? QStringLiteral("computers") : QStringLiteral("folder"), c.accent);
    const QString count = countOf(index);
    paintBadge(painter, content, count, blended(c.sidebar, c.text, 0.1), c.secondaryText);

    QRect rest = groupTextRect(option.rect, count);
    const QFont font = themeFont(1.0, QFont::DemiBold), hintFont = themeFont(0.9);
    const QFontMetrics metrics(font);
    const QString name = metrics.elidedText(index.data().toString(), Qt::ElideRight, rest.width());
    painter->setFont(font);
    painter->setPen(c.text);
    painter->drawText(rest, Qt::AlignVCenter | Qt::AlignLeft, name);
    rest.setLeft(rest.left() + metrics.horizontalAdvance(name) + Metrics::unit);
    if (all || count != QLatin1String("0")) return;
    const QFontMetrics hintMetrics(hintFont);
    for (const QString& hint :
         {ClientRowDelegate::tr("Drag computers here"), ClientRowDelegate::tr("Empty")}) {
        if (hintMetrics.horizontalAdvance(hint) > rest.width()) continue;
        painter->setFont(hintFont);
        painter->setPen(c.faintText);
        painter->drawText(rest, Qt::AlignVCenter | Qt::AlignLeft, hint);
        return;
    }
}

/// Around the group that would take what is being dragged.
void paintDropMark(QPainter* painter, const QRect& row) {
    const QRectF patch = QRectF(row).adjusted(Metrics::unit + 1, 2, -Metrics::unit - 1, -2);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(themeColors().accent, 2));
    painter->drawRoundedRect(patch, Metrics::radius, Metrics::radius);
}

void paintPicture(QPainter* painter, const QRect& square, const QModelIndex& index, const QColor& ground) {
    const ThemeColors& c = themeColors();
    const int kind = index.data(ClientOutlineModel::StateKindRole).toInt();
    const QImage picture = index.data(ClientOutlineModel::PictureRole).value<QImage>();
    const bool away =
        kind == ClientState::NotConnected || kind == ClientState::Connecting || kind == ClientState::Disabled;
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

    const int left = square.right() + textGap;
    const int width = paintMarks(painter, content, index) - Metrics::unit / 2 - left;
    const QFont nameFont = themeFont(1.0, QFont::Medium), stateFont = themeFont(0.9);
    const QFontMetrics nameMetrics(nameFont), stateMetrics(stateFont);
    const int height = nameMetrics.height() + 1 + stateMetrics.height();
    int top = content.center().y() - height / 2;

    const int kind = index.data(ClientOutlineModel::StateKindRole).toInt();
    painter->setFont(nameFont);
    painter->setPen(kind == ClientState::Disabled ? c.secondaryText : c.text);
    painter->drawText(QRect(left, top, width, nameMetrics.height()), Qt::AlignVCenter,
                      nameMetrics.elidedText(index.data().toString(), Qt::ElideRight, width));
    top += nameMetrics.height() + 1;
    painter->setFont(stateFont);
    painter->setPen(kind == ClientState::Attention ? c.warning : c.secondaryText);
    painter->drawText(QRect(left, top, width, stateMetrics.height()), Qt::AlignVCenter,
                      stateMetrics.elidedText(index.data(ClientOutlineModel::StateTextRole).toString(),
                                              Qt::ElideRight, width));
}

}  // namespace

ClientRowDelegate::ClientRowDelegate(NameProblem nameProblem, QObject* parent)
    : QStyledItemDelegate(parent), m_nameProblem(std::move(nameProblem)) {}

void ClientRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    painter->save();
    const QColor ground = paintRowPatch(painter, option);
    if (index.data(ClientOutlineModel::IsGroupRole).toBool())
        paintGroup(painter, option, index);
    else
        paintMachine(painter, contentOf(option.rect), index, ground);
    const auto* view = qobject_cast<const ClientTreeView*>(option.widget);
    if (view && view->dropTarget() == index) paintDropMark(painter, option.rect);
    painter->restore();
}

QSize ClientRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int line = QFontMetrics(option.font).height();
    const int gap = interCellSpacing(option.widget).height();
    const bool group = index.data(ClientOutlineModel::IsGroupRole).toBool();
    return {0, gap + (group ? qMax(line + 16, 36) : qMax(line * 2 + 12, pictureSize + 12))};
}

// ---- Badges and triangles

QRect ClientRowDelegate::badgeRect(const QRect& row, const QModelIndex& index, Badge badge) {
    if (index.data(ClientOutlineModel::IsGroupRole).toBool()) return {};
    const Marks marks(contentOf(row), index);
    switch (badge) {
        case Updates:
            return marks.updates;
        case Errors:
            return marks.errors;
        case Maintenance:
            return marks.maintenance;
        case NoBadge:
            break;
    }
    return {};
}

ClientRowDelegate::Badge ClientRowDelegate::badgeAt(const QRect& row, const QModelIndex& index,
                                                    const QPoint& position) {
    for (const Badge badge : {Updates, Errors, Maintenance})
        if (badgeRect(row, index, badge).contains(position)) return badge;
    return NoBadge;
}

QString ClientRowDelegate::badgeName(Badge badge) {
    switch (badge) {
        case Updates:
            return QStringLiteral("updates");
        case Errors:
            return QStringLiteral("errors");
        case Maintenance:
            return QStringLiteral("maintenance");
        case NoBadge:
            break;
    }
    return {};
}

QString ClientRowDelegate::badgeToolTip(const QModelIndex& index, Badge badge) {
    const auto counted = [&](int role, const char* one, const char* many) {
        const qlonglong count = index.data(role).toLongLong();
        return count == 1 ? tr(one) : tr(many).arg(count);
    };
    switch (badge) {
        case Updates:
            return counted(ClientOutlineModel::UpdateCountRole, QT_TR_NOOP("1 software update available"),
                           QT_TR_NOOP("%1 software updates available"));
        case Errors:
            return counted(ClientOutlineModel::ErrorCountRole,
                           QT_TR_NOOP("1 error. Click to see them in the error log"),
                           QT_TR_NOOP("%1 errors. Click to see them in the error log"));
        case Maintenance:
            return tr("Asks for maintenance. Click to cancel the request");
        case NoBadge:
            break;
    }
    return {};
}

QRect ClientRowDelegate::triangleArea(const QRect& row) {
    return {row.left() + Metrics::unit, row.top(), triangleSize + Metrics::unit, row.height()};
}

// ---- Names of groups

QWidget* ClientRowDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                         const QModelIndex& index) const {
    const auto group = index.data(ClientOutlineModel::GroupRole).value<VLServiceGroupPtr>();
    if (!group) return nullptr;
    auto* editor = new QLineEdit(parent);
    editor->setObjectName(QStringLiteral("groupNameEditor"));
    editor->setAccessibleName(tr("Name of the group"));
    editor->setMaxLength(longestGroupName);
    connect(editor, &QLineEdit::textChanged, editor,
            [editor, group, nameProblem = m_nameProblem](const QString& text) {
                const QString problem = nameProblem(text.trimmed(), group);
                editor->setProperty(problemProperty, problem);
                QPalette colors = editor->palette();
                colors.setColor(QPalette::Text, problem.isEmpty() ? themeColors().text : themeColors().bad);
                editor->setPalette(colors);
            });
    return editor;
}

void ClientRowDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const {
    QRect rect = groupTextRect(option.rect, countOf(index));
    rect.setLeft(rect.left() - Metrics::unit);
    rect.setTop(option.rect.center().y() - editorHeight / 2 + 1);
    rect.setHeight(editorHeight);
    editor->setGeometry(rect);
}

bool ClientRowDelegate::eventFilter(QObject* watched, QEvent* event) {
    const auto* editor = qobject_cast<QLineEdit*>(watched);
    if (editor && event->type() == QEvent::KeyPress) {
        const int key = static_cast<const QKeyEvent*>(event)->key();
        const QString problem = editor->property(problemProperty).toString();
        if ((key == Qt::Key_Return || key == Qt::Key_Enter) && !problem.isEmpty()) {
            QToolTip::showText(editor->mapToGlobal(QPoint(0, editor->height())), problem);
            return true;
        }
    }
    return QStyledItemDelegate::eventFilter(watched, event);
}
