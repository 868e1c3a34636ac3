#include "widgets/Theme.h"

#include "foundation/VLUserDefaults.h"
#include "widgets/ThemeStyle.h"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QPalette>
#include <QToolTip>
#include <QWidget>

namespace {

ThemeColors lightColors() {
    ThemeColors c;
    c.window = QColor(0xf6f7f9);
    c.sidebar = QColor(0xeef0f4);
    c.base = QColor(0xffffff);
    c.alternate = QColor(0xf8f9fb);
    c.raised = QColor(0xffffff);
    c.text = QColor(0x1a1f29);
    c.secondaryText = QColor(0x586172);
    c.faintText = QColor(0x737d8f);
    c.border = QColor(0xdfe3ea);
    c.strongBorder = QColor(0xc4cbd7);
    c.hover = QColor(20, 30, 50, 15);
    c.pressed = QColor(20, 30, 50, 30);
    c.accent = QColor(0x2f63e6);
    c.accentText = QColor(0xffffff);
    c.selection = QColor(0xd7e4ff);
    c.idleSelection = QColor(0xe1e5ec);
    c.good = QColor(0x1d8549);
    c.warning = QColor(0xa85a06);
    c.bad = QColor(0xc63232);
    c.info = QColor(0x2f63e6);
    return c;
}

ThemeColors darkColors() {
    ThemeColors c;
    c.dark = true;
    c.window = QColor(0x22262d);
    c.sidebar = QColor(0x1d2026);
    c.base = QColor(0x191c21);
    c.alternate = QColor(0x1f2329);
    c.raised = QColor(0x323842);
    c.text = QColor(0xe8ebf1);
    c.secondaryText = QColor(0xa6aebd);
    c.faintText = QColor(0x868f9f);
    c.border = QColor(0x31363f);
    c.strongBorder = QColor(0x49515e);
    c.hover = QColor(225, 235, 255, 16);
    c.pressed = QColor(225, 235, 255, 32);
    c.accent = QColor(0x4a80f0);
    c.accentText = QColor(0xffffff);
    c.selection = QColor(0x29406e);
    c.idleSelection = QColor(0x30353f);
    c.good = QColor(0x56c98a);
    c.warning = QColor(0xf0b35c);
    c.bad = QColor(0xff8178);
    c.info = QColor(0x7aa5ff);
    return c;
}

ThemeColors g_colors = lightColors();
Theme g_theme = Theme::System;

bool g_systemIsDark = false;

/// Whether the desktop asks for dark windows. Our own palette hides its answer and is taken away for it.
void readSystemPalette() {
    if (QGuiApplication::palette().resolveMask() != 0) QApplication::setPalette(QPalette());
    g_systemIsDark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

/// Desktops tell every window of a change of their look.
class SystemThemeFilter : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::ThemeChange) {
            readSystemPalette();
            applyTheme(g_theme);
        }
        return QObject::eventFilter(watched, event);
    }
};

QPalette themePalette(const ThemeColors& c) {
    QPalette p;
    const auto set = [&p](QPalette::ColorRole role, const QColor& color) { p.setColor(role, color); };
    set(QPalette::Window, c.window);
    set(QPalette::WindowText, c.text);
    set(QPalette::Base, c.base);
    set(QPalette::AlternateBase, c.alternate);
    set(QPalette::Text, c.text);
    set(QPalette::Button, c.raised);
    set(QPalette::ButtonText, c.text);
    set(QPalette::BrightText, c.bad);
    set(QPalette::PlaceholderText, c.faintText);
    set(QPalette::ToolTipBase, c.dark ? c.raised : c.base);
    set(QPalette::ToolTipText, c.text);
    set(QPalette::Link, c.info);
    set(QPalette::LinkVisited, c.info);
    set(QPalette::Light, c.dark ? c.strongBorder : c.base);
    set(QPalette::Midlight, c.border);
    set(QPalette::Mid, c.strongBorder);
    set(QPalette::Dark, c.strongBorder);
    set(QPalette::Shadow, c.strongBorder);
    // Selected text keeps its colour: the selection is a tint, not a solid block.
    set(QPalette::Highlight, c.selection);
    set(QPalette::HighlightedText, c.text);
    p.setColor(QPalette::Inactive, QPalette::Highlight, c.idleSelection);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        p.setColor(QPalette::Disabled, role, blended(c.window, c.text, 0.42));
    }
    p.setColor(QPalette::Disabled, QPalette::Highlight, c.idleSelection);
    return p;
}

QFont baseFont() {
    static const QFont systemFont = QGuiApplication::font();
    QFont font = systemFont;
    if (QFontDatabase::hasFamily(QStringLiteral("Inter"))) {
        font.setFamily(QStringLiteral("Inter"));
        font.setHintingPreference(QFont::PreferNoHinting);
    }
    // The size set in the desktop counts when it is larger than our own.
    font.setPointSizeF(qMax(9.75, systemFont.pointSizeF() > 10.5 ? systemFont.pointSizeF() : 0.0));
    return font;
}

}  // namespace

const ThemeColors& themeColors() {
    return g_colors;
}

Theme currentTheme() {
    return g_theme;
}

void applyTheme(Theme theme) {
    static bool styled = false;
    if (!styled) readSystemPalette();
    const bool dark = theme == Theme::Dark || (g_systemIsDark && theme == Theme::System);
    g_theme = theme;
    g_colors = dark ? darkColors() : lightColors();
    if (!styled) {
        styled = true;
        QApplication::setFont(baseFont());
        QApplication::setStyle(new ThemeStyle);  // the application owns it
    }
    const QPalette palette = themePalette(g_colors);
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
    QToolTip::setFont(themeFont(0.95));
}

void followSystemTheme(QWidget& window) {
    window.installEventFilter(new SystemThemeFilter(&window));
}

Theme storedTheme() {
    const QString stored = VLUserDefaults::standardUserDefaults().stringForKey(QStringLiteral("theme"));
    if (stored == QLatin1String("light")) return Theme::Light;
    if (stored == QLatin1String("dark")) return Theme::Dark;
    return Theme::System;
}

void storeTheme(Theme theme) {
    const QString text = theme == Theme::Light  ? QStringLiteral("light")
                         : theme == Theme::Dark ? QStringLiteral("dark")
                                                : QStringLiteral("system");
    VLUserDefaults::standardUserDefaults().setObject(text, QStringLiteral("theme"));
}

QFont themeFont(double relativeSize, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * relativeSize);
    font.setWeight(weight);
    return font;
}

QFont themeMonospaceFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(QApplication::font().pointSizeF() * 0.95);
    return font;
}

QColor blended(const QColor& under, const QColor& over, double strength) {
    const auto mix = [strength](double a, double b) { return a + (b - a) * strength; };
    return QColor::fromRgbF(static_cast<float>(mix(under.redF(), over.redF())),
                            static_cast<float>(mix(under.greenF(), over.greenF())),
                            static_cast<float>(mix(under.blueF(), over.blueF())));
}
