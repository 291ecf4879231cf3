#include "log.h"

#include <climits>
#include <cstdarg>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <syslog.h>

#include "config.h"

Logger::Type Logger::log_type = Logger::TYPE_STDOUT;
FILE* Logger::log_fp = stderr;
int Logger::log_size = -1;
int Logger::rotate_cnt = 50;
ustring Logger::log_path;
std::map<ustring, int> Logger::log_level;
// Statically initialised so that messages logged before anything else has run are safe.
pthread_mutex_t Logger::log_lock = PTHREAD_MUTEX_INITIALIZER;

namespace {

const int kDefaultThreshold = Logger::LEVEL_WARNING;
const int kRotateThreshold = 1048576;

// What a full disk kept out of the log file, written ahead of the next message: the line that
// says why an upgrade failed is logged while the disk is full, and the rollback frees space
// right after. Bounded, keeping the oldest text, which holds the reason. Guarded by log_lock.
std::string g_unwritten;
const size_t kMaxUnwritten = 65536;

std::string Format(const char* format, va_list ap) {
    va_list measure;
    va_copy(measure, ap);
    const int length = vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length <= 0)
        return std::string();
    std::string text(static_cast<size_t>(length), '\0');
    vsnprintf(&text[0], text.size() + 1, format, ap);
    return text;
}

// A message is one line of the log, whatever its arguments hold: names from a package or the
// disk may carry line feeds or terminal escapes, and written as they are they could forge lines
// that read as the launcher's own. Control characters become \n, \t or \xNN; the final line
// feed, which ends the line, stays. Text without control characters is returned unchanged.
std::string EscapeControls(std::string text) {
    const size_t body = !text.empty() && text.back() == '\n' ? text.size() - 1 : text.size();
    size_t first = 0;
    while (first < body && static_cast<unsigned char>(text[first]) >= 0x20 && text[first] != 0x7f)
        ++first;
    if (first == body)
        return text;
    std::string out = text.substr(0, first);
    for (size_t i = first; i < body; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20 || c == 0x7f) {
            char hex[5];
            std::snprintf(hex, sizeof(hex), "\\x%02x", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + text.substr(body);
}

// Writes text to the log file and flushes it; returns the part that did not reach the file.
// stdio drops its buffer when a write fails, so the file's growth tells how much got through.
std::string WriteThrough(FILE* fp, const std::string& text) {
    struct stat st;
    const off_t before = fstat(fileno(fp), &st) == 0 ? st.st_size : -1;
    // A long text bypasses the buffer, so fwrite itself may be the call that fails.
    const size_t put = fwrite(text.data(), 1, text.size(), fp);
    if (fflush(fp) == 0 && put == text.size())
        return std::string();
    clearerr(fp);
    const off_t after = before >= 0 && fstat(fileno(fp), &st) == 0 ? st.st_size : before;
    const size_t done = after > before ? static_cast<size_t>(after - before) : 0;
    return done < text.size() ? text.substr(done) : std::string();
}

// Writes one message behind its local time stamp and returns its length. Into the log file,
// what the disk refuses is kept and goes out ahead of the next message. Called under log_lock.
int WriteStamped(FILE* fp, bool into_log_file, const std::string& message) {
    const time_t now = time(nullptr);
    struct tm local;
    char stamp[512];
    stamp[0] = '\0';
    if (localtime_r(&now, &local))
        strftime(stamp, sizeof(stamp), "%b %d %H:%M:%S ", &local);
    const std::string line = stamp + message;
    if (into_log_file) {
        g_unwritten = WriteThrough(fp, g_unwritten + line);
        if (g_unwritten.size() > kMaxUnwritten)
            g_unwritten.resize(kMaxUnwritten);
    } else {
        fwrite(line.data(), 1, line.size(), fp);
        fflush(fp);
    }
    return static_cast<int>(line.size());
}

} // namespace

int Logger::Initialize(Type type, const ustring& path, const ustring& debug_path, int rotate_count) {
    log_level[ustring("default_component")] = kDefaultThreshold;
    if (!debug_path.empty()) {
        // An unreadable or malformed switch file leaves an empty Config, so it sets nothing.
        Config config;
        config.read(debug_path);
        for (const auto& entry : config)
            log_level[entry.first] = config.get_int(entry.first);
    }

    log_type = type;
    switch (type) {
    case TYPE_STDERR:
        log_fp = stderr;
        break;
    case TYPE_STDOUT:
        log_fp = stdout;
        break;
    case TYPE_SYSLOG:
        log_fp = nullptr;
        break;
    default: {
        // On failure the previous stream stays in use, so start-up messages still reach stderr.
        if (path.empty())
            return -1;
        FILE* fp = fopen(path.c_str(), "a");
        if (!fp)
            return -1;
        log_fp = fp;
        // Counts this process's bytes only: a file may grow past the limit over several runs.
        log_size = 0;
        log_path = path;
        rotate_cnt = rotate_count;
        return 0;
    }
    }
    log_path.clear();
    log_size = -1;
    return 0;
}

void Logger::Destroy() {
    if (log_type != TYPE_FILE)
        return;
    // After a failed Initialize the stream is still a standard one, which must stay open.
    if (log_fp && log_fp != stdout && log_fp != stderr)
        fclose(log_fp);
    log_fp = stdout;
    log_size = -1;
    log_type = TYPE_STDERR;
    log_path.clear();
    rotate_cnt = 32;
}

void Logger::LogMsg(Level level, const ustring& component, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    LogMsg2(level, component, format, ap);
    va_end(ap);
}

void Logger::LogMsg2(Level level, const ustring& component, const char* format, va_list ap) {
    // A thread cancelled while holding the lock would silence every other thread for good.
    int old_cancel_state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &old_cancel_state);
    pthread_mutex_lock(&log_lock);
    // Looked at under the lock only: a rotation leaves no stream between closing the old file
    // and opening the new one, and a message that came then would be dropped. Once logging has
    // stopped for good (a failed rotation), messages are dropped here.
    if (log_type != TYPE_SYSLOG && log_fp == nullptr) {
        pthread_mutex_unlock(&log_lock);
        pthread_setcancelstate(old_cancel_state, nullptr);
        return;
    }

    const auto found = log_level.find(component);
    const int threshold = found == log_level.end() ? kDefaultThreshold : found->second;
    int written = 0;
    if (threshold >= level) {
        const std::string message = EscapeControls(Format(format, ap));
        switch (log_type) {
        case TYPE_SYSLOG:
            syslog(LOG_ERR, "%s", message.c_str());
            break;
        case TYPE_STDOUT:
        case TYPE_STDERR:
        case TYPE_FILE:
            if (log_fp)
                written = WriteStamped(log_fp, log_type == TYPE_FILE && log_size >= 0, message);
            break;
        default:
            fputs(message.c_str(), stderr);
            break;
        }
    }

    if (log_type == TYPE_FILE && log_size >= 0 && written >= 0) {
        log_size = written > INT_MAX - log_size ? INT_MAX : log_size + written;
        // The message that crosses the limit stays in the old file; the next starts a new one.
        if (log_size > kRotateThreshold) {
            Rotate();
            log_size = 0;
        }
    }

    pthread_mutex_unlock(&log_lock);
    pthread_setcancelstate(old_cancel_state, nullptr);
}

int Logger::Rotate() {
    const char* path = log_path.c_str();
    char from[1024];
    char to[1024];
    // Oldest first, so that no file is overwritten before it has moved up one number.
    for (int i = rotate_cnt - 2; i >= 0; --i) {
        snprintf(from, sizeof(from), "%s_%d", path, i);
        snprintf(to, sizeof(to), "%s_%d", path, i + 1);
        rename(from, to);
    }
    snprintf(from, sizeof(from), "%s_%d", path, rotate_cnt - 1);
    remove(from);

    if (log_fp)
        fclose(log_fp);
    log_fp = nullptr;
    // A failed rename or reopen leaves no stream: logging stops until Initialize runs again.
    snprintf(to, sizeof(to), "%s_%d", path, 0);
    if (rename(path, to) != 0)
        return -1;
    FILE* fp = fopen(path, "a");
    if (!fp)
        return -1;
    log_fp = fp;
    return 0;
}

void LogMSG_c(int level, const char* component, const char* format, va_list ap) {
    Logger::LogMsg2(static_cast<Logger::Level>(level), ustring(component ? component : ""), format, ap);
}
