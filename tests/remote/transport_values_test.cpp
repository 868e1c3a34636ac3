#include "corvalin.capnp.h"
#include "remote/WireStream.h"
#include "remote/WireValue.h"
#include "support/TestEnvironment.h"

#include <QDateTime>

#include <capnp/message.h>
#include <capnp/serialize.h>

#include <cmath>
#include <limits>

namespace {

QVariant nested(int depth) {
    QVariant value = QStringLiteral("core");
    for (int level = 0; level < depth; ++level)
        value =
            level % 2 ? QVariant(QVariantMap{{QStringLiteral("in"), value}}) : QVariant(QVariantList{value});
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
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("false") << QVariant(false);
        QTest::newRow("true") << QVariant(true);
        QTest::newRow("smallest integer") << QVariant(std::numeric_limits<qlonglong>::min());
        QTest::newRow("largest integer") << QVariant(std::numeric_limits<qlonglong>::max());
        QTest::newRow("smallest real") << QVariant(std::numeric_limits<double>::denorm_min());
        QTest::newRow("largest real") << QVariant(std::numeric_limits<double>::max());
        QTest::newRow("infinity") << QVariant(-std::numeric_limits<double>::infinity());
        QTest::newRow("empty text") << QVariant(QString(QLatin1String("")));
        QTest::newRow("text") << QVariant(QStringLiteral("Grüße, 剪辑室 \U0001F3AC"));
        QTest::newRow("text with a zero") << QVariant(QString(QLatin1String("a\0b", 3)));
        QTest::newRow("text with a mark at its start")
            << QVariant(QString(QChar(0xfeff)) + QLatin1String("x"));
        QTest::newRow("empty data") << QVariant(QByteArray(""));
        QTest::newRow("data") << QVariant(QByteArray("\0\xff\n", 3));
        QTest::newRow("date") << QVariant(QDateTime(QDate(2011, 2, 28), QTime(23, 59, 59, 999), Qt::UTC));
        QTest::newRow("date before 1970") << QVariant(QDateTime(QDate(1904, 1, 1), QTime(0, 0), Qt::UTC));
        QTest::newRow("empty list") << QVariant(QVariantList());
        QTest::newRow("empty dictionary") << QVariant(QVariantMap());
        QTest::newRow("list with holes")
            << QVariant(QVariantList{1LL, QVariant(), QStringLiteral("two"), 2.5});
        QTest::newRow("dictionary") << QVariant(
            QVariantMap{{QString(), 1LL},
                        {QStringLiteral("schlüssel"), QByteArray("d")},
                        {QStringLiteral("list"), QVariantList{true, false}}});
        QTest::newRow("as deep as allowed") << nested(RemoteLimits().valueNesting);
    }
    void values_keep_their_type_and_content() {
        QFETCH(QVariant, value);
        const QVariant result = throughTheWire(value);
        QCOMPARE(result.metaType(), value.metaType());
        QCOMPARE(result, value);
    }

    void kindred_types_become_the_wires_own_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("int") << QVariant(-7) << QVariant(-7LL);
        QTest::newRow("unsigned int") << QVariant(4'000'000'000U) << QVariant(4'000'000'000LL);
        QTest::newRow("float") << QVariant(0.5F) << QVariant(0.5);
        QTest::newRow("texts") << QVariant(QStringList{QStringLiteral("a")})
                               << QVariant(QVariantList{QStringLiteral("a")});
        QTest::newRow("hash") << QVariant(QVariantHash{{QStringLiteral("a"), 1LL}})
                              << QVariant(QVariantMap{{QStringLiteral("a"), 1LL}});
        const QDateTime local(QDate(2011, 7, 1), QTime(12, 0), Qt::OffsetFromUTC, 7200);
        QTest::newRow("date elsewhere") << QVariant(local) << QVariant(local.toUTC());
    }
    void kindred_types_become_the_wires_own() {
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
        QTest::newRow("integer too large") << QVariant(std::numeric_limits<qulonglong>::max());
        QTest::newRow("invalid date") << QVariant(QDateTime());
        QTest::newRow("date too far away")
            << QVariant(QDateTime::fromMSecsSinceEpoch(8'640'000'000'000'001, Qt::UTC));
        QTest::newRow("type without a form") << QVariant(QSize(1, 2));
        QTest::newRow("the same inside a list") << QVariant(QVariantList{QSize(1, 2)});
        QTest::newRow("too deep") << nested(5);
        QTest::newRow("too many values") << QVariant(QVariantList(101, true));
        QTest::newRow("too many values in parts")
            << QVariant(QVariantList(3, QVariant(QVariantList(40, QVariant(true)))));
        QTest::newRow("text too large") << QVariant(QString(70'000, QLatin1Char('x')));
        QTest::newRow("data too large") << QVariant(QByteArray(70'000, 'x'));
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
        RemoteLimits few;
        few.valueCount = 100;
        RemoteLimits flat;
        flat.valueNesting = 5;
        for (const RemoteLimits& limits : {few, flat}) {
            try {
                (void)WireReader(limits).read(message.getRoot<wire::Value>().asReader());
                QFAIL("the value was read");
            } catch (const VLException& exception) {
                QCOMPARE(exception.name(), VLException::invalidArgument);
            }
        }
    }

    void exceptions_keep_name_reason_and_information() {
        const VLException sent(QStringLiteral("VLTaskException"), QStringLiteral("grün"),
                               {{QStringLiteral("code"), 1005LL}});
        capnp::MallocMessageBuilder message;
        WireWriter(RemoteLimits()).write(message.initRoot<wire::Outcome>().initException(), sent);
        try {
            (void)WireReader(RemoteLimits()).readOutcome(message.getRoot<wire::Outcome>().asReader());
            QFAIL("nothing was raised");
        } catch (const VLException& received) {
            QCOMPARE(received.name(), sent.name());
            QCOMPARE(received.reason(), sent.reason());
            QCOMPARE(received.userInfo(), sent.userInfo());
        }
    }
};

ORLENDO_TEST_MAIN(TransportValuesTest)
#include "transport_values_test.moc"
