#pragma once

#include "remote/VLCorvalinServerProtocol.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

/// One call of an operation. The arguments have the number and the types that the protocol declares.
struct OperationCall {
    const QVariantList& arguments;
    quint64 peer;  ///< the console's connection
};

/// The operations that this agent carries out, by selector. Filled at start-up and constant afterwards, so
/// perform() may run on many threads at once; handlers are called on the thread of the caller.
class OperationTable {
public:
    using Handler = std::function<QVariant(const OperationCall&)>;

    /// Throws VLException for a selector that the protocol does not declare or that is there already.
    void add(const QString& selector, Handler handler);

    [[nodiscard]] bool contains(const QString& selector) const { return m_handlers.contains(selector); }
    [[nodiscard]] QStringList selectors() const { return m_handlers.keys(); }

    /// Checks the arguments, then runs the operation. Throws VLException: VLException::invalidArgument for an
    /// unknown selector or arguments that the protocol does not allow, else what the operation raised.
    QVariant perform(const QString& selector, const OperationCall& call) const;

private:
    struct Entry {
        const VLCorvalinServerProtocol::Operation* operation;
        Handler handler;
    };
    QHash<QString, Entry> m_handlers;
};
