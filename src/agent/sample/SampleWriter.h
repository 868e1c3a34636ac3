#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVariant>

/// Writes the files of a sample workstation below one folder, with fixed dates. Throws VLException when one
/// cannot be written.
class SampleWriter {
public:
    SampleWriter(QString directory, QDateTime date)
        : m_directory(std::move(directory)), m_date(std::move(date)) {}

    void file(const QString& path, const QByteArray& content) const { file(path, content, m_date); }
    void file(const QString& path, const QByteArray& content, const QDateTime& date) const;
    void propertyList(const QString& path, const QVariantMap& content) const;
    void folder(const QString& path) const;
    /// `size` bytes that look like media or cache data and are the same for the same path.
    void filler(const QString& path, qsizetype size) const;
    void link(const QString& path, const QString& target) const;

    struct Bundle {
        QString name;
        QString identifier;
        QString version;
        QString build;
        QString packageType = QStringLiteral("BNDL");
        QDateTime date = {};
    };
    /// A bundle with Contents/Info.plist and an executable.
    void bundle(const QString& path, const Bundle& bundle) const;
    /// A framework: Versions/A and the usual links.
    void framework(const QString& path, const Bundle& bundle) const;

private:
    [[nodiscard]] QString absolute(const QString& path) const { return m_directory + path; }

    QString m_directory;
    QDateTime m_date;
};
