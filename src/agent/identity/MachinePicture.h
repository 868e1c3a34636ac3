#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

/// Ready-made pictures (PNG) of machine models, built into the program from resources/icons/models.
namespace MachinePicture {

/// "com.apple.macpro" for "MacPro4,1" and so on: the name of the picture. Empty for an unknown model.
[[nodiscard]] QString nameForModel(const QString& model);
/// Empty when there is no picture for that model. With a size, the picture fits into it and touches two of
/// its sides.
[[nodiscard]] QByteArray forModel(const QString& model, const QSize& size = {});

}  // namespace MachinePicture
