#include "fuzz/Fuzzing.h"

#include "support/TestFiles.h"

#include <QCryptographicHash>
#include <QStandardPaths>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/// Named by what they hold, as libFuzzer names its own, so that several runs can share a folder.
[[noreturn]] void writeSeeds(const QString& folder) {
    bool isWritten = true;
    const QList<QByteArray> all = seeds();
    for (const QByteArray& seed : all) {
        const QByteArray name = QCryptographicHash::hash(seed, QCryptographicHash::Sha1).toHex();
        isWritten = writeFile(folder + u'/' + QString::fromLatin1(name), seed) && isWritten;
    }
    std::fprintf(stderr, "%d seeds\n", int(all.size()));
    std::_Exit(isWritten && !all.isEmpty() ? 0 : 1);
}

}  // namespace

void mustHold(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "This does not hold: %s\n", what);
    std::abort();
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    QStandardPaths::setTestModeEnabled(true);
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) {});  // says what is broken
    setenv("TZ", "UTC", 1);
    if (*argc == 3 && std::strcmp((*argv)[1], "--seeds") == 0) writeSeeds(QString::fromLocal8Bit((*argv)[2]));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Not a copy, which would have a byte more: the sanitizer is to see what reads over the end.
    readInput(QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size)));
    return 0;
}
