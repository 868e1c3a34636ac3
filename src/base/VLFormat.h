#pragma once

#include <QString>
#include <QVariant>

#include <initializer_list>

/// Fills the placeholders of `format` in order: %@ and %s any value's text, %i and %d an integer,
/// %0.2f (any digits) a real number, %% a percent sign. A placeholder without a value is left as it stands;
/// values left over are ignored. Texts of the system are kept word for word in the code this way.
[[nodiscard]] QString vlFormatList(const QString& format, std::initializer_list<QVariant> values);

template <typename... Values>
[[nodiscard]] QString vlFormat(const QString& format, const Values&... values) {
    return vlFormatList(format, {QVariant(values)...});
}
