#pragma once

#include <QString>

/// Tooltips and alerts take text that looks like HTML for HTML. This shows text of others as it is, letter by
/// letter, in any of them: what looks like HTML comes back escaped, other text unchanged.
[[nodiscard]] QString literalText(const QString& text, Qt::WhiteSpaceMode mode = Qt::WhiteSpacePre);
