#pragma once

#include <cstddef>
#include <cstdint>

/// What the console and its root helper say to each other over the socket pair that the helper was started
/// with. Numbers are in the machine's own byte order: both ends are always on one machine, of one build.
///
/// The helper begins with one Status, `ready`. A request is a Length, then that many bytes: strings that each
/// end with a zero byte, the program's absolute path first, its arguments after it. The answer is one Status:
/// the program's exit status, `notStarted`, or `endedBySignal` plus the signal. The helper ends with the
/// connection, and ends the connection when a request breaks these rules.
namespace HelperProtocol {

using Length = std::uint32_t;
using Status = std::int32_t;

constexpr Length maxRequestLength = 1U << 20;
constexpr std::size_t maxStrings = 4096;

constexpr Status ready = 0;
constexpr Status notStarted = 127;
constexpr Status endedBySignal = 128;

}  // namespace HelperProtocol
