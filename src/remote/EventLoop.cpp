#include "remote/EventLoop.h"

namespace {
constexpr unsigned int eventsBetweenPolls = 50;
}

kj::AsyncIoContext makeEventLoop() {
    // kj fills tables of its own at first use. It does so safely, but where ThreadSanitizer can't see it;
    // it sees this.
    static const bool tablesAreFilled = (kj::setupAsyncIo(), true);
    (void)tablesAreFilled;
    auto io = kj::setupAsyncIo();
    io.waitScope.setBusyPollInterval(eventsBetweenPolls);
    return io;
}
