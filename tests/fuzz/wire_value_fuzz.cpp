#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"
#include "fuzz/WireBytes.h"

/// An answer as it comes from a peer. What could be read can be sent, and arrives alike.
void readInput(const QByteArray& input) {
    const RemoteLimits limits = smallLimits();
    try {
        const QVariant value = WireBytes(input).readOutcome(limits);
        const QByteArray written = WireBytes::outcome(value);
        const QVariant again = WireBytes(written).readOutcome(limits);
        mustHold(WireBytes::outcome(again) == written, "what was read again is the same");
    } catch (const VLException&) {
        return;  // refused, or the peer's own exception
    }
}

QList<QByteArray> seeds() {
    QList<QByteArray> made{WireBytes::exception(VLException(
        QStringLiteral("VLFailure"), QStringLiteral("Größer"), {{QStringLiteral("code"), qlonglong(1006)}}))};
    const QVariantList values = sampleValues() + sampleAnswers();
    for (const QVariant& value : values)
        made.append(WireBytes::outcome(value));
    return made;
}
