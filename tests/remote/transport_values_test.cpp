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
    void values_keep_their_type_and_content_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("expected");
        const auto same = [](const char* name, const QVariant& value) {
            QTest::newRow(name) << value << value;
        };
        same("nothing", QVariant());
        same("false", false);
        same("smallest integer", std::numeric_limits<qlonglong>::min());
        same("largest integer", std::numeric_limits<qlonglong>::max());
        same("smallest real", std::numeric_limits<double>::denorm_min());
        same("infinity", -std::numeric_limits<double>::infinity());
        same("empty text", u""_s);
        same("text", u"\ufeffGrüße, 剪辑室 \U0001F3AC"_s);  // a mark at its start
        same("text with a zero", u"a\0b"_s);
        same("empty data", QByteArray(""));
        same("data", QByteArray("\0\xff\n", 3));
        same("date", QDateTime(QDate(2011, 2, 28), QTime(23, 59, 59, 999), Qt::UTC));
        same("date before 1970", QDateTime(QDate(1904, 1, 1), QTime(0, 0), Qt::UTC));
        same("empty list", QVariantList());
        same("empty dictionary", QVariantMap());
        same("list with holes", QVariantList{1LL, QVariant(), u"two"_s, 2.5});
        same("dictionary", QVariantMap{{QString(), 1LL}, {u"schlüssel"_s, QVariantList{true, false}}});
        same("as deep as allowed", nested(RemoteLimits().valueNesting));
        // Kindred types become the wire's own.
        const auto becomes = [](const char* name, const QVariant& value, const QVariant& expected) {
            QTest::newRow(name) << value << expected;
        };
        becomes("int", -7, -7LL);
        becomes("unsigned int", 4'000'000'000U, 4'000'000'000LL);
        becomes("float", 0.5F, 0.5);
        becomes("texts", QStringList{u"a"_s}, QVariantList{u"a"_s});
        becomes("hash", QVariantHash{{u"a"_s, 1LL}}, QVariantMap{{u"a"_s, 1LL}});
        const QDateTime local(QDate(2011, 7, 1), QTime(12, 0), Qt::OffsetFromUTC, 7200);
        becomes("date elsewhere", local, local.toUTC());
    }
    void values_keep_their_type_and_content() {
        QFETCH(QVariant, value);
        QFETCH(QVariant, expected);
        const QVariant result = throughTheWire(value);
        QCOMPARE(result.metaType(), expected.metaType());
        QCOMPARE(result, expected);
    }

    void a_number_that_is_none_stays_none() {
        QVERIFY(std::isnan(throughTheWire(std::numeric_limits<double>::quiet_NaN()).toDouble()));
    }

    void what_cannot_be_sent_is_refused_data() {
        QTest::addColumn<QVariant>("value");
        const auto row = [](const char* name, const QVariant& value) { QTest::newRow(name) << value; };
        row("integer too large", std::numeric_limits<qulonglong>::max());
        row("invalid date", QDateTime());
        row("date too far away", QDateTime::fromMSecsSinceEpoch(8'640'000'000'000'001, Qt::UTC));
        row("type without a form", QVariantList{QSize(1, 2)});
        row("too deep", nested(5));
        row("too many values in parts", QVariantList(3, QVariant(QVariantList(40, QVariant(true)))));
        row("text too large", QString(70'000, u'x'));
        row("data too large", QByteArray(70'000, 'x'));
    }
    void what_cannot_be_sent_is_refused() {
        QFETCH(QVariant, value);
        RemoteLimits limits;
        limits.valueNesting = 4;
        limits.valueCount = 100;
        limits.messageBytes = 65'536;
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
