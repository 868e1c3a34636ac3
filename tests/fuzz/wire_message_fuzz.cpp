#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"
#include "fuzz/WireBytes.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <capnp/rpc.capnp.h>
#include <kj/async-io.h>

#include <algorithm>

using namespace VLCorvalinServerProtocol;

namespace {

/// What an agent does with the arguments of a call before it knows that it may believe them.
void readCall(capnp::rpc::Call::Reader call, const RemoteLimits& limits) {
    const auto params = call.getParams().getContent().getAs<wire::Root::PerformParams>();
    WireReader reader(limits);
    const QString selector = reader.text(params.getSelector());
    QVariantList arguments;
    for (const auto argument : params.getArguments()) {
        if (arguments.size() >= 64) return;
        arguments.append(argument.isValue() ? reader.read(argument.getValue()) : QVariant());
    }
    mustHold(argumentCount(selector) >= 0, "a selector has a number of arguments");
    for (const Side side : {Side::Agent, Side::Console})
        if (const Operation* known = operation(side, selector)) {
            const QString error = argumentError(*known, arguments);
            mustHold(!error.isEmpty() || std::size_t(arguments.size()) == known->arguments.size(),
                     "arguments that fit are as many as are declared");
        }
}

kj::Promise<void> readMessages(WireStream& stream, const RemoteLimits& limits) {
    return stream.tryReadMessage(nullptr, WireStream::readerOptions(limits), nullptr)
        .then([&stream, &limits](kj::Maybe<capnp::MessageReaderAndFds>&& message) -> kj::Promise<void> {
            KJ_IF_MAYBE (read, message) {
                const auto root = read->reader->getRoot<capnp::rpc::Message>();
                if (root.isCall()) readCall(root.getCall(), limits);
                return readMessages(stream, limits);
            }
            return kj::READY_NOW;
        });
}

QByteArray callBytes(const QString& selector, const QVariantList& arguments) {
    capnp::MallocMessageBuilder message;
    auto call = message.initRoot<capnp::rpc::Message>().initCall();
    call.setInterfaceId(capnp::typeId<wire::Root>());
    call.setMethodId(1);
    auto params = call.initParams().initContent().initAs<wire::Root::PerformParams>();
    WireWriter writer{RemoteLimits{}};
    const QByteArray name = writer.text(selector);
    params.setSelector({name.constData(), std::size_t(name.size())});
    auto list = params.initArguments(unsigned(arguments.size()));
    for (unsigned index = 0; index < list.size(); ++index)
        writer.write(list[index].initValue(), arguments.at(index));
    return WireBytes::bytesOf(message);
}

QByteArray finishBytes() {
    capnp::MallocMessageBuilder message;
    message.initRoot<capnp::rpc::Message>().initFinish().setQuestionId(1);
    return WireBytes::bytesOf(message);
}

QVariant sampleOf(Type type) {
    const QVariantMap map{{QStringLiteral("filename"), QStringLiteral("a.plist")},
                          {QStringLiteral("enabled"), qlonglong(1)}};
    switch (type) {
        case Type::Boolean:
            return true;
        case Type::Number:
            return qlonglong(3);
        case Type::Data:
            return QByteArray("data");
        case Type::Date:
            return QDateTime(QDate(2011, 7, 1), QTime(12, 0), Qt::UTC);
        case Type::Array:
            return QVariantList{map};
        case Type::Dictionary:
            return map;
        case Type::String:
        case Type::Any:
            return QStringLiteral("text");
        case Type::Object:
            return {};
    }
    return {};
}

}  // namespace

/// All that a peer sends over one connection.
void readInput(const QByteArray& input) {
    static kj::AsyncIoContext io = kj::setupAsyncIo();
    const RemoteLimits limits = smallLimits();
    auto pipe = kj::newTwoWayPipe();
    WireStream stream(*pipe.ends[1], limits);
    auto written = pipe.ends[0]
                       ->write(input.constData(), std::size_t(input.size()))
                       .then([&pipe] { pipe.ends[0]->shutdownWrite(); })
                       .eagerlyEvaluate([](kj::Exception&&) {});
    try {
        readMessages(stream, limits).wait(io.waitScope);
    } catch (const kj::Exception&) {
        return;
    } catch (const VLException&) {
        return;
    }
}

QList<QByteArray> seeds() {
    QList<QByteArray> made;
    const auto known = operations();
    for (const Operation& operation : known) {
        QVariantList arguments;
        for (const Argument& argument : operation.arguments)
            arguments.append(sampleOf(argument.type));
        const QByteArray call = callBytes(QLatin1String(operation.selector), arguments);
        made.append({call, call + finishBytes()});
    }
    return made;
}
