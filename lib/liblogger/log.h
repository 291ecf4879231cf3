#pragma once

#include <cstdarg>
#include <cstdio>
#include <map>
#include <pthread.h>

#include "ustring.h"

// The process-wide logger. Every module writes through it under a component name of its own;
// the debug switch file decides per component which levels are written. The interface thread
// and the worker thread both log: one mutex serialises writing and rotation.
class Logger {
public:
    enum Type { TYPE_SYSLOG = 1, TYPE_STDOUT = 2, TYPE_STDERR = 3, TYPE_FILE = 4 };
    enum Level { LEVEL_ERROR = 3, LEVEL_WARNING = 4, LEVEL_NOTE = 5, LEVEL_INFO = 6, LEVEL_DEBUG = 7 };

    // Reads the levels from debug_path (absent: errors and warnings only; a value that is not a
    // number silences its component) and opens path for appending when type is TYPE_FILE; keeps
    // rotate_cnt files in all. -1 when the file cannot be opened: the levels are set all the same
    // and the previous stream stays in use. Takes no lock: call it before other threads log.
    // An entry "default_component" is a component like any other, not the default for the rest.
    static int Initialize(Type type, const ustring& path, const ustring& debug_path, int rotate_cnt);
    // Only after TYPE_FILE: closes the file and sends later messages to standard output (not
    // standard error), keeping the levels read. Takes no lock.
    static void Destroy();
    // Writes the message when its level is within the component's threshold (4 for a component
    // without one). format holds the whole line but the time stamp, line feed included. Safe from
    // any thread. With TYPE_SYSLOG every message goes out at error priority, whatever its level.
    static void LogMsg(Level level, const ustring& component, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static void LogMsg2(Level level, const ustring& component, const char* format, va_list ap)
        __attribute__((format(printf, 3, 0)));
    // Renames the current file to <path>_0 after moving the rotated files up one number, and
    // opens a new current file; N-1 rotated files (_0 newest up to _N-2) are kept, where N is
    // rotate_cnt. -1 when the rename or the new file fails: logging then stops until Initialize
    // runs again. LogMsg calls it itself past 1 MiB; another caller must make sure no thread logs
    // meanwhile, since it closes the stream a writer would use.
    static int Rotate();

private:
    static Type log_type;
    static FILE* log_fp;
    static int log_size;
    static int rotate_cnt;
    static ustring log_path;
    static std::map<ustring, int> log_level;
    static pthread_mutex_t log_lock;
};

// For callers that have no ustring at hand.
void LogMSG_c(int level, const char* component, const char* format, va_list ap) __attribute__((format(printf, 3, 0)));
