#include "system/VLException.h"

#include "logs/VLLog.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

const QString VLException::givenUp = QStringLiteral("VLGivenUpException");
const QString VLException::portTimeout = QStringLiteral("NSPortTimeoutException");
const QString VLException::inaccessible = QStringLiteral("NSObjectInaccessibleException");
const QString VLException::invalidArgument = QStringLiteral("NSInvalidArgumentException");
const QString VLException::changedKey = QStringLiteral("VLChangedKeyException");
const QString VLException::refused = QStringLiteral("VLRefusedException");
const QString VLException::generic = QStringLiteral("NSGenericException");

namespace {

QString typeName(const std::exception& exception) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(typeid(exception).name(), nullptr, nullptr, &status), &std::free);
    return QString::fromLatin1(demangled ? demangled.get() : typeid(exception).name());
}

}  // namespace

VLException::VLException(QString name, QString reason, QVariantMap userInfo)
    : m_name(std::move(name)),
      m_reason(std::move(reason)),
      m_userInfo(std::move(userInfo)),
      m_what(QStringLiteral("%1 - %2").arg(m_name, m_reason).toStdString()) {}

VLException::~VLException() = default;

QString VLException::logException(const std::exception& exception, const char* method) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    const QString line = vlFormat(QStringLiteral("Exception in %s. %@ - %@."), QString::fromUtf8(method),
                                  own ? own->name() : typeName(exception),
                                  own ? own->reason() : QString::fromLocal8Bit(exception.what()));
    VLLog::appendLogAndPrint(line);
    return line;
}

bool VLException::didTimeout(const std::exception& exception) noexcept {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    return own && own->name() == portTimeout;
}
