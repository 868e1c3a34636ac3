#include "clients/MachineIcons.h"

#include <QBuffer>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>

#include <algorithm>
#include <array>
#include <mutex>

namespace {

enum class Match { Prefix, Exact };

struct ModelRule {
    const char* model;
    Match match;
    const char* file;
};

using enum Match;

/// The first rule that fits decides.
constexpr std::array modelRules{
    ModelRule{"MacPro", Prefix, "com.apple.macpro.icns"},
    ModelRule{"Xserve", Prefix, "com.apple.xserve.icns"},
    ModelRule{"RackMac", Prefix, "com.apple.xserve.icns"},
    ModelRule{"Macmini", Prefix, "com.apple.macmini.icns"},
    ModelRule{"PowerMac10", Prefix, "com.apple.macmini.icns"},
    ModelRule{"MacBookAir", Prefix, "com.apple.macbookair.icns"},
    // The doubled prefix names no file that exists: these models go without a picture.
    ModelRule{"MacBookPro1,", Prefix, "com.apple.com.apple.macbookpro-15.icns"},
    ModelRule{"MacBookPro2,", Prefix, "com.apple.com.apple.macbookpro-15.icns"},
    ModelRule{"MacBookPro3,", Prefix, "com.apple.com.apple.macbookpro-15.icns"},
    ModelRule{"MacBookPro4,", Prefix, "com.apple.com.apple.macbookpro-15.icns"},
    ModelRule{"MacBookPro", Prefix, "com.apple.macbookpro-15-unibody.icns"},
    ModelRule{"MacBook1,", Prefix, "com.apple.macbook-white.icns"},
    ModelRule{"MacBook2,", Prefix, "com.apple.macbook-white.icns"},
    ModelRule{"MacBook3,", Prefix, "com.apple.macbook-white.icns"},
    ModelRule{"MacBook4,", Prefix, "com.apple.macbook-white.icns"},
    ModelRule{"MacBook5,2", Exact, "com.apple.macbook-white.icns"},
    ModelRule{"MacBook", Prefix, "com.apple.macbook-unibody.icns"},
    ModelRule{"PowerMac3,5", Exact, "com.apple.powermac-g4-quicksilver.icns"},
    ModelRule{"PowerMac3,6", Exact, "com.apple.powermac-g4-mirrored-drive-doors.icns"},
    ModelRule{"PowerMac1,", Prefix, "com.apple.powermac-g4-graphite.icns"},
    ModelRule{"PowerMac3,", Prefix, "com.apple.powermac-g4-graphite.icns"},
    ModelRule{"PowerMac5,", Prefix, "com.apple.powermac-g4-graphite.icns"},
    ModelRule{"PowerMac4,", Prefix, "com.apple.imac-g4-15.icns"},
    ModelRule{"PowerMac6,", Prefix, "com.apple.imac-g4-15.icns"},
    ModelRule{"PowerMac8,", Prefix, "com.apple.imac-g5-17.icns"},
    ModelRule{"PowerMac12,", Prefix, "com.apple.imac-iSight-17.icns"},
    ModelRule{"iMac4,", Prefix, "com.apple.imac-iSight-17.icns"},
    ModelRule{"iMac5,", Prefix, "com.apple.imac-iSight-17.icns"},
    ModelRule{"iMac6,", Prefix, "com.apple.imac-iSight-17.icns"},
    ModelRule{"iMac", Prefix, "com.apple.imac-aluminum-20.icns"},
    ModelRule{"PowerMac", Prefix, "com.apple.powermac-g5.icns"},
    ModelRule{"PowerBook1,", Prefix, "com.apple.powerbook-g4-titanium.icns"},
    ModelRule{"PowerBook3,", Prefix, "com.apple.powerbook-g4-titanium.icns"},
    ModelRule{"PowerBook2,", Prefix, "com.apple.ibook-g4-14.icns"},
    ModelRule{"PowerBook4,", Prefix, "com.apple.ibook-g4-14.icns"},
    ModelRule{"PowerBook6,", Prefix, "com.apple.ibook-g4-14.icns"},
    ModelRule{"PowerBook", Prefix, "com.apple.powerbook-g4-15.icns"},
};

bool fits(const ModelRule& rule, const QString& model) {
    const QLatin1StringView text(rule.model);
    return rule.match == Exact ? model == text : model.startsWith(text);
}

QImage readFile(const QString& path) {
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    return reader.read();
}

QImage readPicture(const QString& fileName) {
    const QString platform =
        QStringLiteral("/System/Library/CoreServices/CoreTypes.bundle/Contents/Resources/") + fileName;
    if (QFileInfo(platform).isFile()) return readFile(platform);
    const QString drawn = QStringLiteral(":/icons/models/%1.png").arg(QFileInfo(fileName).completeBaseName());
    return QFileInfo(drawn).isFile() ? readFile(drawn) : QImage();
}

}  // namespace

QString MachineIcons::fileNameForModel(const QString& model) {
    const auto rule = std::find_if(modelRules.begin(), modelRules.end(),
                                   [&](const ModelRule& candidate) { return fits(candidate, model); });
    return rule == modelRules.end() ? QString() : QString::fromLatin1(rule->file);
}

QImage MachineIcons::image(const QString& fileName, const QSize& size) {
    // A thousand clients show a dozen pictures: all clients of one model share one.
    static std::mutex mutex;
    static QHash<std::pair<QString, std::pair<int, int>>, QImage> pictures;
    const auto key = std::pair(fileName, std::pair(size.width(), size.height()));
    const std::lock_guard lock(mutex);
    if (const auto known = pictures.constFind(key); known != pictures.constEnd()) return *known;
    QImage picture = readPicture(fileName);
    if (!picture.isNull() && !size.isEmpty())
        picture = picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    pictures.insert(key, picture);
    return picture;
}

QImage MachineIcons::scaledDown(const QImage& picture, int side) {
    if (picture.width() <= side && picture.height() <= side) return picture;
    return picture.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QByteArray MachineIcons::archiveData(const QImage& picture) {
    constexpr int archiveSide = 36;
    constexpr qsizetype mostKept = 1024;
    static std::mutex mutex;
    static QHash<qint64, QByteArray> known;
    if (picture.isNull()) return {};
    const std::lock_guard lock(mutex);
    if (const auto made = known.constFind(picture.cacheKey()); made != known.constEnd()) return *made;
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    scaledDown(picture, archiveSide).save(&buffer, "PNG");
    if (known.size() == mostKept) known.clear();
    known.insert(picture.cacheKey(), data);
    return data;
}

QImage MachineIcons::decode(const QByteArray& data, QString* error) {
    const auto refuse = [&](const QString& reason) {
        if (error) *error = reason;
        return QImage();
    };
    if (data.size() > maximumDataSize) return refuse(QStringLiteral("the picture is too large"));
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    // The reader is told the format, so that no other decoder ever sees the data.
    const QByteArray format = data.startsWith("\x89PNG")                                  ? "png"
                              : data.startsWith("icns")                                   ? "icns"
                              : data.startsWith(QByteArrayView("\0\0\1\0", qsizetype(4))) ? "ico"
                                                                                          : "";
    if (format.isEmpty()) return refuse(QStringLiteral("it is no PNG, ICO or ICNS picture"));
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (size.width() > maximumSide || size.height() > maximumSide)
        return refuse(QStringLiteral("the picture is too large"));
    QImage image = reader.read();
    if (image.isNull()) return refuse(reader.errorString());
    if (image.width() > maximumSide || image.height() > maximumSide)
        return refuse(QStringLiteral("the picture is too large"));
    return image;
}
