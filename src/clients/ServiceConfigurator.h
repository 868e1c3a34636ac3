#pragma once

#include "clients/VLService.h"

/// Asks a record's agent for its configuration and enters the answer in the record. Holds nothing of its own;
/// lives no longer than the record. Any thread, where nothing else is said.
class ServiceConfigurator {
public:
    explicit ServiceConfigurator(VLService& record) : m_record(record) {}

    /// VLService::fetchInitialConfiguration().
    void fetch(bool armTimeout);
    /// Not on the main thread.
    void process(const QVariantMap& dictionary);

private:
    void request(const VLProxyObjectPtr& proxy);
    void raised(const std::exception& exception, const VLProxyObjectPtr& proxy);
    void failed(const QString& reason, ConnectionFailure failure, int errorCode);
    void takeNames(const QString& preferredHostName);
    void takeName(const QString& preferredHostName);
    [[nodiscard]] bool isUnnamed() const;

    VLService& m_record;
};
