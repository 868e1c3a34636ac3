// What ThreadSanitizer has to be told about libraries that are not instrumented, linked into every program of
// the "tsan" preset. Nothing of ours is hidden.
#include <QThreadPool>

extern "C" {

const char* __tsan_default_options() {
    return "die_after_fork=0";  // tests start programs
}

const char* __tsan_default_suppressions() {
    // Qt Test's watchdog, and GLib's threads (for libsecret and polkit), take locks that the sanitizer
    // doesn't see. libdbus locks a new connection while it holds its list of busses, and that list while it
    // holds a connection that ends; every connection of ours is private to one thread.
    // The log's file is used and replaced under one lock. Its descriptor's number may have been that of a
    // file of SQLite's, which hands descriptors over where the sanitizer sees nothing.
    // Qt Sql keeps its list of connections behind a QReadWriteLock, whose parts Qt uses again without a lock.
    // Assigning a shared string, or ending a QVariant with one, releases and frees it within Qt: only the
    // freeing is seen.
    return "called_from_lib:libQt6Test.so\n"
           "race:QWaitCondition::~QWaitCondition\n"
           "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libgobject-2.0.so\n"
           "called_from_lib:libgio-2.0.so\n"
           "called_from_lib:libpolkit-agent-1.so\n"
           "called_from_lib:libpolkit-gobject-1.so\n"
           "called_from_lib:libsecret-1.so\n"
           "race:QString::operator=(QString const&)\n"
           "race:QByteArray::operator=(QByteArray const&)\n"
           "race:QVariant::~QVariant()\n"
           "race:QFSFileEngine::write\n"
           "race:QReadWriteLock::\n"
           "deadlock:libdbus-1.so\n";
}
}

/// Qt converts large pictures with several threads, which hand over through locks that the sanitizer doesn't
/// see. We have no work for a pool ourselves, so here it is done at once.
void QThreadPool::start(std::function<void()> functionToRun, int) {
    functionToRun();
}
