#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

/// Pictures of machines: the table of models, the picture files, and pictures that agents send. Any thread.
namespace MachineIcons {

/// The picture file for a machine model; empty for a model that has none.
[[nodiscard]] QString fileNameForModel(const QString& model);

/// The picture of that name: the platform's own where the machine has it, else the one drawn for this
/// program. An empty size means its natural one. Null when there is no such file.
[[nodiscard]] QImage image(const QString& fileName, const QSize& size = {});

inline constexpr int maximumDataSize = 1024 * 1024;
inline constexpr int maximumSide = 1024;

/// No larger than `side` in either direction; the same picture when it is small enough.
[[nodiscard]] QImage scaledDown(const QImage& picture, int side);
/// The picture as a small PNG, for archives; empty for none. Made once for all who share the picture.
[[nodiscard]] QByteArray archiveData(const QImage& picture);

/// A picture that came from outside. Null, and a reason, unless it is a PNG, ICO or ICNS within the limits.
[[nodiscard]] QImage decode(const QByteArray& data, QString* error = nullptr);

}  // namespace MachineIcons
