#pragma once

#include <QString>

/// Sample workstations to try the console on, and to test the agent with: four machines of a small editing
/// house that differ in telling ways. A folder made here holds
///
///   agent.conf   settings: the agent finds them with "--root FOLDER" or "--config FOLDER/agent.conf"
///   admin-users  administrators ("admin" with the password "corvalin-sample")
///   disk/        the workstation's disk
///   state/       the agent's state: hardware, waiting updates, render jobs; later its key pair
///
/// The content is the same, byte for byte and with the same dates, every time.
namespace SampleTree {

inline constexpr int profileCount = 4;

/// Makes, or makes anew, the sample workstation `profile` (1 to profileCount) in `directory`. The agent's key
/// pair and the consoles that it knows stay when it is made anew. Throws VLException when the folder holds
/// anything that is no sample workstation, or cannot be written.
void make(const QString& directory, int profile);

/// True for a folder that make() made.
[[nodiscard]] bool isSample(const QString& directory);
[[nodiscard]] QString configurationPath(const QString& directory);

}  // namespace SampleTree
