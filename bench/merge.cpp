// How long the answers of many clients take to be merged: plug-ins into rows, and the general merge rules.
#include "remote/Aggregation.h"
#include "tools/addonry/VLPluginItem.h"
#include "tools/merged/RowMerger.h"

#include <QElapsedTimer>
#include <QTextStream>

#include <algorithm>
#include <functional>
#include <random>

namespace {

constexpr int clients = 500, plugins = 300, rounds = 5;

QString hostName(int client) {
    return QStringLiteral("bay-%1.local.").arg(client);
}

/// What each client would answer to addonryPluginList: now and then an older version, a disabled or a missing
/// plug-in.
QList<QVariantList> pluginAnswers() {
    std::minstd_rand random(1);
    QList<QVariantList> answers;
    for (int client = 0; client < clients; ++client) {
        QVariantList answer;
        for (int plugin = 0; plugin < plugins; ++plugin) {
            if (random() % 50 == 0) continue;
            answer.append(QVariantMap{
                {QStringLiteral("name"), QStringLiteral("Plug-in %1").arg(plugin)},
                {QStringLiteral("fullPath"),
                 QStringLiteral("/Library/Plug-Ins/FxPlug/%1.fxplug").arg(plugin)},
                {QStringLiteral("version"), QStringLiteral("1.%1").arg(random() % 20 == 0 ? 1 : 2)},
                {QStringLiteral("type"), QStringLiteral("FxPlug")},
                {QStringLiteral("disabled"), qlonglong(random() % 30 == 0)},
                {QStringLiteral("accessType"), qlonglong(2)}});
        }
        answers.append(answer);
    }
    return answers;
}

/// One dictionary for each client with a value for each key; each fourth key has another on every client.
QVariantList dictionaries() {
    QVariantList all;
    for (int client = 0; client < clients; ++client) {
        QVariantMap dictionary;
        for (int key = 0; key < plugins; ++key) {
            const int value = key % 4 == 0 ? client : client % 3;
            dictionary.insert(QStringLiteral("key %1").arg(key),
                              key % 2 ? QVariant(QStringLiteral("10.%1.%2").arg(key % 9).arg(value))
                                      : QVariant(qlonglong(value)));
        }
        all.append(dictionary);
    }
    return all;
}

void measure(const QString& what, const std::function<void()>& action) {
    QList<double> milliseconds;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        action();
        milliseconds.append(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    QTextStream(stdout)
        << QStringLiteral("%1 %2 ms\n").arg(what, -44).arg(milliseconds.at(rounds / 2), 8, 'f', 1);
}

void forEveryKey(const std::function<void(const QString& key)>& action) {
    for (int key = 0; key < plugins; ++key)
        action(QStringLiteral("key %1").arg(key));
}

}  // namespace

int main() {
    const QList<QVariantList> answers = pluginAnswers();
    QStringList hostNames;
    for (int client = 0; client < clients; ++client)
        hostNames.append(hostName(client));
    measure(QStringLiteral("plug-in lists checked and merged into rows"), [&] {
        RowMerger<VLPluginItem> merger;
        for (int client = 0; client < clients; ++client)
            merger.add(hostNames.at(client), VLPluginItem::checked(answers.at(client)).entries);
        static_cast<void>(merger.takeRows());
    });

    const QVariantList all = dictionaries();
    measure(QStringLiteral("commonValuesForDictArray"),
            [&] { static_cast<void>(Aggregation::commonValuesForDictArray(all)); });
    measure(QStringLiteral("commonOrHighestStatsFromArray"),
            [&] { static_cast<void>(Aggregation::commonOrHighestStatsFromArray(all)); });
    measure(QStringLiteral("versionRangeInArray, every key"), [&] {
        forEveryKey(
            [&](const QString& key) { static_cast<void>(Aggregation::versionRangeInArray(all, key)); });
    });
    measure(QStringLiteral("aggregatedValueForKey, every key"), [&] {
        forEveryKey(
            [&](const QString& key) { static_cast<void>(Aggregation::aggregatedValueForKey(key, all)); });
    });
}
