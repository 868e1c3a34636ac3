#include "agent/identity/MachinePicture.h"

#include <QBuffer>
#include <QFile>
#include <QImage>

#include <array>

namespace {

struct Rule {
    QLatin1StringView prefix;
    QLatin1StringView picture;
};

constexpr Rule rule(const char* prefix, const char* picture) {
    return {QLatin1StringView(prefix), QLatin1StringView(picture)};
}

// The first prefix that fits decides, so the longer names come first. The older families are told apart by
// number, because their names do not say what the machine looks like.
constexpr std::array rules{
    rule("MacPro", "com.apple.macpro"),
    rule("Xserve", "com.apple.xserve"),
    rule("RackMac", "com.apple.xserve"),
    rule("Macmini", "com.apple.macmini"),
    rule("PowerMac10", "com.apple.macmini"),
    rule("MacBookAir", "com.apple.macbookair"),
    rule("MacBookPro", "com.apple.macbookpro-15-unibody"),
    rule("MacBook", "com.apple.macbook-unibody"),
    rule("PowerMac4,", "com.apple.imac-g4-15"),
    rule("PowerMac6,", "com.apple.imac-g4-15"),
    rule("PowerMac8,", "com.apple.imac-g5-17"),
    rule("PowerMac12,", "com.apple.imac-iSight-17"),
    rule("PowerMac", "com.apple.powermac-g5"),
    rule("iMac", "com.apple.imac-aluminum-20"),
    rule("PowerBook", "com.apple.powerbook-g4-15"),
};

}  // namespace

QString MachinePicture::nameForModel(const QString& model) {
    for (const Rule& candidate : rules) {
        if (model.startsWith(candidate.prefix)) return candidate.picture;
    }
    return {};
}

QByteArray MachinePicture::forModel(const QString& model, const QSize& size) {
    const QString name = nameForModel(model);
    QFile file(QStringLiteral(":/agent/models/%1.png").arg(name));
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly)) return {};
    if (!size.isValid()) return file.readAll();
    const QImage picture =
        QImage::fromData(file.readAll(), "PNG").scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    return picture.save(&buffer, "PNG") ? data : QByteArray();
}
