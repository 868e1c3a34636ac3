#pragma once

#include "runs/ActivityQuery.h"

#include <functional>

/// Writes kept runs into a file for other programs.
namespace ActivityExport {

enum class Format { Csv, Json };

struct Result {
    int runs = 0;
    QString error;  ///< empty when the file is there
};

/// Writes those of `keys` that are still kept, in their order, to `target`, which is replaced whole or not at
/// all. CSV (RFC 4180, UTF-8) has one line per run and computer; texts that a spreadsheet would take for a
/// formula begin with an apostrophe. JSON is a list of runs with their computers. Neither has the data that
/// takes a run back. `goesOn` hears now and then how many runs are written, and ends it by returning false.
/// Blocks; for workers.
[[nodiscard]] Result write(const QString& activityFile, const ActivityKeys& keys, Format format,
                           const QString& target, const std::function<bool(int done)>& goesOn = {});

}  // namespace ActivityExport
