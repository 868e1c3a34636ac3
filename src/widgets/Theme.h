#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QWidget;

/// How the console looks: one place for every colour, the font and the distances. Main thread.
enum class Theme { System, Light, Dark };

/// The colours of the theme in force. Anything that paints asks for them while it paints, and so follows
/// a change of theme without further work.
struct ThemeColors {
    bool dark = false;
    QColor window;     ///< tool bar, status bar, dialogs
    QColor sidebar;    ///< client outline and tool list
    QColor base;       ///< tables and fields
    QColor alternate;  ///< every second row, headings of tables
    QColor raised;     ///< buttons
    QColor text, secondaryText, faintText;
    QColor border, strongBorder;
    QColor hover, pressed;            ///< laid over what lies below
    QColor accent, accentText;        ///< filled parts and the text on them
    QColor selection, idleSelection;  ///< selected rows with and without the keyboard focus
    QColor good, warning, bad, info;  ///< marks and the words beside them
};

[[nodiscard]] const ThemeColors& themeColors();

/// Sets style, palette and font of the whole application; may be called again at any time.
void applyTheme(Theme theme);
/// From now on a change of the desktop's palette changes the windows with it, while the theme is System.
/// `window` is one that lives as long as the program is to follow.
void followSystemTheme(QWidget& window);
[[nodiscard]] Theme currentTheme();

/// The user's choice, kept in the defaults under "theme".
[[nodiscard]] Theme storedTheme();
void storeTheme(Theme theme);

namespace Metrics {
inline constexpr int unit = 8;  ///< every distance is a multiple of this, or half of it
inline constexpr int radius = 6;
inline constexpr int symbolSize = 18;
inline constexpr int sheetMargin = 24;
}  // namespace Metrics

/// The application's font, changed in size (relative to it) and weight.
[[nodiscard]] QFont themeFont(double relativeSize = 1.0, QFont::Weight weight = QFont::Normal);
/// The application's font for logs and fingerprints.
[[nodiscard]] QFont themeMonospaceFont();
/// `over` laid on `under` with this strength (0 to 1).
[[nodiscard]] QColor blended(const QColor& under, const QColor& over, double strength);
