#pragma once

#include <QString>
#include <QVariant>

#include <exception>
#include <string>

/// An error that is raised through the call chain, with a name that says its kind.
class VLException : public std::exception {
public:
    VLException(QString name, QString reason, QVariantMap userInfo = {});
    ~VLException() override;

    [[nodiscard]] const QString& name() const noexcept { return m_name; }
    [[nodiscard]] const QString& reason() const noexcept { return m_reason; }
    /// For errors raised by an agent: "domain" and "code", where it gave them.
    [[nodiscard]] const QVariantMap& userInfo() const noexcept { return m_userInfo; }
    [[nodiscard]] const char* what() const noexcept override { return m_what.c_str(); }

    /// Writes "Exception in <method>. <name> - <reason>." to the application log and the system log and
    /// returns the line. An exception that is no VLException is named by its type.
    static QString logException(const std::exception& exception, const char* method);
    /// True for a reply that did not come in time ("NSPortTimeoutException").
    [[nodiscard]] static bool didTimeout(const std::exception& exception) noexcept;

    // Names of the exceptions that the console itself raises.
    static const QString portTimeout;      ///< "NSPortTimeoutException": no reply in time
    static const QString inaccessible;     ///< "NSObjectInaccessibleException": the peer is gone
    static const QString invalidArgument;  ///< "NSInvalidArgumentException": wrong type, size or number
    static const QString givenUp;          ///< "VLGivenUpException": whoever waited gave up (CallScope)
    static const QString changedKey;       ///< "VLChangedKeyException": the peer's pinned key has changed
    static const QString refused;          ///< "VLRefusedException": the peer refused us
    static const QString generic;          ///< "NSGenericException"

private:
    QString m_name;
    QString m_reason;
    QVariantMap m_userInfo;
    std::string m_what;
};
