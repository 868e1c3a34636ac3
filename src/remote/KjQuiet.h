#pragma once

#include <kj/exception.h>

/// Keeps kj from writing to standard error, and from gathering stack traces, on this thread while it is on
/// the stack. Every error that kj reports there also reaches us, as an exception or as the end of a stream.
class KjQuiet final : public kj::ExceptionCallback {
public:
    void logMessage(kj::LogSeverity severity, const char* file, int line, int depth,
                    kj::String&& text) override {
        if (severity == kj::LogSeverity::FATAL) next.logMessage(severity, file, line, depth, kj::mv(text));
    }
    StackTraceMode stackTraceMode() override { return StackTraceMode::NONE; }
};
