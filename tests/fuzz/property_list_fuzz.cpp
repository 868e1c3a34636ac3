#include "base/PropertyList.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"

using PropertyList::Format;

namespace {

QVariant throughBytes(const QVariant& value, Format format) {
    const QByteArray written = PropertyList::toData(value, format);
    mustHold(!written.isEmpty(), "what was read can be written");
    const QVariant again = PropertyList::fromData(written);
    mustHold(again.isValid(), "what was written can be read");
    return again;
}

}  // namespace

void readInput(const QByteArray& input) {
    const QVariant value = PropertyList::fromData(input);
    if (!value.isValid()) return;
    for (const Format format : {Format::Xml, Format::Binary}) {
        const QVariant once = throughBytes(value, format), twice = throughBytes(once, format);
        // Not `value`: texts that the format cannot hold are mended when they are written.
        mustHold(PropertyList::toData(once, format) == PropertyList::toData(twice, format),
                 "it stays as it is");
    }
}

QList<QByteArray> seeds() {
    QList<QByteArray> made;
    const QVariantList values = sampleValues() + sampleAnswers();
    for (const QVariant& value : values)
        for (const Format format : {Format::Xml, Format::Binary})
            made.append(PropertyList::toData(value, format));
    made.removeAll(QByteArray());
    return made;
}
