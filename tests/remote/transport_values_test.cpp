#include "corvalin.capnp.h"
#include "remote/WireStream.h"
#include "remote/WireValue.h"
#include "support/TestEnvironment.h"

#include <QDateTime>

#include <capnp/message.h>
#include <capnp/serialize.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

QVariant nested(int depth) {
    QVariant value = u"core"_s;
    for (int level = 0; level < depth; ++level)
        value = level % 2 ? QVariant(QVariantMap{{u"in"_s, value}}) : QVariant(QVariantList{value});
    return value;
}

/// Through the bytes of a message, as over a connection.
QVariant throughTheWire(const QVariant& value, const RemoteLimits& limits = {}) {
    capnp::MallocMessageBuilder message;
    WireWriter(limits).write(message.initRoot<wire::Value>(), value);
    const auto words = capnp::messageToFlatArray(message);
    capnp::FlatArrayMessageReader reader(words, WireStream::readerOptions(limits));
    return WireReader(limits).read(reader.getRoot<wire::Value>());
}

}  // namespace

class TransportValuesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void values_keep_their_type_and_content() {
        const QVariantList kept{QVariant(),
                                false,
                                std::numeric_limits<qlonglong>::min(),
                                -std::numeric_limits<double>::infinity(),
                                u""_s,
                                u"\ufeffGrüße, 剪辑室 \U0001F3AC"_s,  // a mark at its start
                                u"a\0b"_s,
                                QByteArray(""),
                                QByteArray("\0\xff\n", 3),
                                QDateTime(QDate(1904, 1, 1), QTime(23, 59, 59, 999), Qt::UTC),
                                QVariantList{1LL, QVariant(), u"two"_s, 2.5},
                                QVariantMap{{QString(), 1LL}, {u"schlüssel"_s, QVariantList()}},
                                nested(RemoteLimits().valueNesting)};
        QList<std::pair<QVariant, QVariant>> rows;
        for (const QVariant& value : kept)
            rows.append({value, value});
        // Kindred types become the wire's own.
        const QDateTime local(QDate(2011, 7, 1), QTime(12, 0), Qt::OffsetFromUTC, 7200);
        rows.append({{-7, -7LL},
                     {4'000'000'000U, 4'000'000'000LL},
                     {0.5F, 0.5},
                     {QStringList{u"a"_s}, QVariantList{u"a"_s}},
                     {QVariantHash{{u"a"_s, 1LL}}, QVariantMap{{u"a"_s, 1LL}}},
                     {local, local.toUTC()}});
        for (const auto& [value, expected] : std::as_const(rows)) {
            const QVariant result = throughTheWire(value);
            QCOMPARE(result.metaType(), expected.metaType());
            QCOMPARE(result, expected);
        }
        QVERIFY(std::isnan(throughTheWire(std::numeric_limits<double>::quiet_NaN()).toDouble()));
    }

    void what_cannot_be_sent_is_refused() {
        RemoteLimits limits;
        limits.valueNesting = 4;
        limits.valueCount = 100;
        limits.messageBytes = 65'536;
        const QVariantList refused{std::numeric_limits<qulonglong>::max(),
                                   QDateTime(),
                                   QDateTime::fromMSecsSinceEpoch(8'640'000'000'000'001, Qt::UTC),
                                   QVariantList{QSize(1, 2)},
                                   nested(5),
                                   QVariantList(3, QVariant(QVariantList(40, QVariant(true)))),
                                   QString(70'000, u'x'),
                                   QByteArray(70'000, 'x')};
        for (const QVariant& value : refused)
            QVERIFY_EXCEPTION_THROWN((void)throughTheWire(value, limits), VLException);
    }

    void the_reader_counts_for_itself() {
        // What one end may send can be more than what the other takes.
        capnp::MallocMessageBuilder message;
        WireWriter(RemoteLimits()).write(message.initRoot<wire::Value>(), QVariantList(200, nested(10)));
        RemoteLimits few, flat;
        few.valueCount = 100;
        flat.valueNesting = 5;
        for (const RemoteLimits& limits : {few, flat})
            QVERIFY_EXCEPTION_THROWN((void)WireReader(limits).read(message.getRoot<wire::Value>().asReader()),
                                     VLException);
    }
};

ORLENDO_TEST_MAIN(TransportValuesTest)
#include "transport_values_test.moc"
