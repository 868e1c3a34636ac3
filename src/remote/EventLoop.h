#pragma once

#include <kj/async-io.h>

/// A kj event loop for the calling thread.
///
/// kj looks at sockets, timers and our queue only when it has nothing else to do; the loop made here looks
/// in between too, so that a peer that always has something for it to do can't keep the rest from their turn.
[[nodiscard]] kj::AsyncIoContext makeEventLoop();
