#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

/// The certificates (PEM) of the consoles that may connect, from files and folders. In folders the files
/// "*.crt" and "*.pem" count; a file may hold several. What is no certificate is left out. Any thread.
[[nodiscard]] QList<QByteArray> readAuthorizedCertificates(const QStringList& paths);
