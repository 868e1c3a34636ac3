#pragma once

#include <QByteArray>
#include <QList>

/// What a fuzz target consists of, beside the main program that libFuzzer brings along.

/// Reads one input. What must never happen ends the process: a sanitizer's finding, or mustHold().
void readInput(const QByteArray& input);

/// Inputs as the project's own writers make them. `TARGET --seeds FOLDER` writes them there.
[[nodiscard]] QList<QByteArray> seeds();

/// Ends the process with a message where `condition` is false.
void mustHold(bool condition, const char* what);
