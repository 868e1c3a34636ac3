#include "agent/sample/SampleWriter.h"

#include "base/PropertyList.h"
#include "system/VLException.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

namespace {

[[noreturn]] void failed(const QString& path, const QString& reason) {
    throw VLException(VLException::generic, QStringLiteral("Unable to write %1: %2").arg(path, reason));
}

QVariantMap infoDictionary(const SampleWriter::Bundle& bundle) {
    return {
        {QStringLiteral("CFBundleDevelopmentRegion"), QStringLiteral("English")},
        {QStringLiteral("CFBundleExecutable"), bundle.name},
        {QStringLiteral("CFBundleIdentifier"), bundle.identifier},
        {QStringLiteral("CFBundleInfoDictionaryVersion"), QStringLiteral("6.0")},
        {QStringLiteral("CFBundleName"), bundle.name},
        {QStringLiteral("CFBundlePackageType"), bundle.packageType},
        {QStringLiteral("CFBundleShortVersionString"), bundle.version},
        {QStringLiteral("CFBundleVersion"), bundle.build.isEmpty() ? bundle.version : bundle.build},
    };
}

}  // namespace

void SampleWriter::folder(const QString& path) const {
    if (!QDir().mkpath(absolute(path))) failed(absolute(path), QStringLiteral("the folder cannot be made"));
}

void SampleWriter::file(const QString& path, const QByteArray& content, const QDateTime& date) const {
    folder(path.section(u'/', 0, -2));
    QFile file(absolute(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush() ||
        !file.setFileTime(date, QFileDevice::FileModificationTime))
        failed(file.fileName(), file.errorString());
}

void SampleWriter::propertyList(const QString& path, const QVariantMap& content) const {
    file(path, PropertyList::toData(content));
}

void SampleWriter::filler(const QString& path, qsizetype size) const {
    QByteArray content;
    content.reserve(size + 32);
    QByteArray block = path.toUtf8();
    while (content.size() < size) {
        block = QCryptographicHash::hash(block, QCryptographicHash::Sha256);
        content.append(block);
    }
    content.truncate(size);
    file(path, content);
}

void SampleWriter::link(const QString& path, const QString& target) const {
    folder(path.section(u'/', 0, -2));
    if (!QFile::link(target, absolute(path)))
        failed(absolute(path), QStringLiteral("the link cannot be made"));
}

void SampleWriter::bundle(const QString& path, const Bundle& bundle) const {
    const QDateTime date = bundle.date.isValid() ? bundle.date : m_date;
    file(path + QStringLiteral("/Contents/Info.plist"), PropertyList::toData(infoDictionary(bundle)), date);
    file(path + QStringLiteral("/Contents/PkgInfo"), bundle.packageType.toLatin1() + "????", date);
    filler(path + QStringLiteral("/Contents/MacOS/") + bundle.name, 2048);
}

void SampleWriter::framework(const QString& path, const Bundle& bundle) const {
    const QString version = path + QStringLiteral("/Versions/A");
    propertyList(version + QStringLiteral("/Resources/Info.plist"), infoDictionary(bundle));
    filler(version + u'/' + bundle.name, 2048);
    link(path + QStringLiteral("/Versions/Current"), QStringLiteral("A"));
    link(path + QStringLiteral("/Resources"), QStringLiteral("Versions/Current/Resources"));
    link(path + u'/' + bundle.name, QStringLiteral("Versions/Current/") + bundle.name);
}
