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

    static int Initialize(Type type, const ustring& path, const ustring& debug_path, int rotate_cnt);
    static void Destroy();
    static void LogMsg(Level level, const ustring& component, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static void LogMsg2(Level level, const ustring& component, const char* format, va_list ap)
        __attribute__((format(printf, 3, 0)));
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
