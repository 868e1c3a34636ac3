#pragma once

#include "clients/troubleshooter/ConnectionProblem.h"

/// The words for each kind of problem.
namespace ProblemTexts {

/// What the texts name.
struct Subject {
    QString name;     ///< of the computer
    QString address;  ///< its address, or else its host name
    int port = 0;
    [[nodiscard]] static Subject of(const VLService& service);
};

[[nodiscard]] QString title(ConnectionProblem::Kind kind);
/// Everything but the reason.
[[nodiscard]] ConnectionProblem describe(ConnectionProblem::Kind kind, const Subject& subject);

}  // namespace ProblemTexts
