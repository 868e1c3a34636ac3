#pragma once

#include <kj/async.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// kj's interface for the errors of a set of tasks, with the virtual destructor that it lacks.
class TaskErrorHandler : public kj::TaskSet::ErrorHandler {
public:
    TaskErrorHandler() = default;
    virtual ~TaskErrorHandler() noexcept(false) = default;  // as all that kj destroys
    TaskErrorHandler(const TaskErrorHandler&) = delete;
    TaskErrorHandler& operator=(const TaskErrorHandler&) = delete;
};

#pragma GCC diagnostic pop
