// Preloaded into the launcher by the crash tests. It numbers the file-system calls that touch
// the per-user application folder, its backups or the package, and freezes the whole process
// (SIGSTOP) at one of them, so that the test can kill it with SIGKILL at an exact, replayable
// moment. The call it stops at is not carried out, except a write, which is cut in half first:
// that is how a file is left half-written.
//
// VELMORA_CRASH_WATCH   path prefix of the per-user application folder (matches its _tmp backups)
// VELMORA_CRASH_PACKAGE the package file
// VELMORA_CRASH_AT      number of the call to stop at, from 1; unset or 0: never
// VELMORA_CRASH_TRACE   file to which every numbered call is written as "number call path"
//
// The variables and LD_PRELOAD are removed at start, so that the client the launcher opens runs
// without this library.

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Plain buffers: they are filled by the constructor below, which may run before any C++ object
// of this library is initialised.
char g_watch[4096], g_package[4096];
size_t g_watch_len = 0;
long g_stop_at = 0;
int g_trace = -1;
long g_count = 0;
std::mutex g_lock;
// Descriptors opened on watched paths, by number; the launcher's stay far below the limit.
constexpr int kMaxFd = 4096;
std::atomic<bool> g_tracked[kMaxFd];

template <class F> F Real(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

void Take(const char* name, char (&out)[4096]) {
    const char* value = getenv(name);
    snprintf(out, sizeof(out), "%s", value ? value : "");
    unsetenv(name);
}

__attribute__((constructor)) void Configure() {
    char at[4096], trace[4096];
    Take("VELMORA_CRASH_WATCH", g_watch);
    Take("VELMORA_CRASH_PACKAGE", g_package);
    Take("VELMORA_CRASH_AT", at);
    Take("VELMORA_CRASH_TRACE", trace);
    unsetenv("LD_PRELOAD");
    g_watch_len = strlen(g_watch);
    g_stop_at = atol(at);
    if (trace[0])
        g_trace = Real<int (*)(const char*, int, ...)>("open")(trace, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
}

bool Watched(const char* path) {
    return path && g_watch_len > 0 &&
           (strncmp(path, g_watch, g_watch_len) == 0 || (g_package[0] && strcmp(path, g_package) == 0));
}

bool Tracked(int fd) {
    return fd >= 0 && fd < kMaxFd && g_tracked[fd].load();
}

// Numbers one call; true when it is the one to stop at.
bool Event(const char* call, const char* path) {
    std::lock_guard<std::mutex> hold(g_lock);
    ++g_count;
    if (g_trace >= 0)
        dprintf(g_trace, "%ld %s %s\n", g_count, call, path);
    return g_count == g_stop_at;
}

bool EventOnPath(const char* call, const char* path) {
    return Watched(path) && Event(call, path);
}

bool EventOnFd(const char* call, int fd) {
    if (!Tracked(fd))
        return false;
    char name[32];
    snprintf(name, sizeof(name), "fd %d", fd);
    return Event(call, name);
}

[[noreturn]] void Freeze() {
    for (;;)
        kill(getpid(), SIGSTOP);
}

int Opened(const char* path, int fd) {
    if (fd >= 0 && fd < kMaxFd && Watched(path))
        g_tracked[fd] = true;
    return fd;
}

// Numbers a call on path and freezes at the chosen one; otherwise libc's own function runs.
template <class R, class... A> R Pass(const char* call, const char* path, A... args) {
    if (EventOnPath(call, path))
        Freeze();
    return Real<R (*)(A...)>(call)(args...);
}

} // namespace

// The mode argument is there only when the file may be created, as glibc reads it.
#define VELMORA_MODE_ARG(flags)                                                                                        \
    mode_t mode = 0;                                                                                                   \
    if (((flags)&O_CREAT) || ((flags)&O_TMPFILE) == O_TMPFILE) {                                                       \
        va_list ap;                                                                                                    \
        va_start(ap, flags);                                                                                           \
        mode = static_cast<mode_t>(va_arg(ap, int));                                                                   \
        va_end(ap);                                                                                                    \
    }

extern "C" {

int open(const char* path, int flags, ...) {
    VELMORA_MODE_ARG(flags)
    if (EventOnPath("open", path))
        Freeze();
    return Opened(path, Real<int (*)(const char*, int, ...)>("open")(path, flags, mode));
}

int open64(const char* path, int flags, ...) {
    VELMORA_MODE_ARG(flags)
    if (EventOnPath("open", path))
        Freeze();
    return Opened(path, Real<int (*)(const char*, int, ...)>("open64")(path, flags, mode));
}

int openat(int dir, const char* path, int flags, ...) {
    VELMORA_MODE_ARG(flags)
    if (EventOnPath("open", path))
        Freeze();
    return Opened(path, Real<int (*)(int, const char*, int, ...)>("openat")(dir, path, flags, mode));
}

int close(int fd) {
    if (fd >= 0 && fd < kMaxFd)
        g_tracked[fd] = false;
    return Real<int (*)(int)>("close")(fd);
}

ssize_t read(int fd, void* buf, size_t n) {
    if (EventOnFd("read", fd))
        Freeze();
    return Real<ssize_t (*)(int, void*, size_t)>("read")(fd, buf, n);
}

ssize_t write(int fd, const void* buf, size_t n) {
    const auto real = Real<ssize_t (*)(int, const void*, size_t)>("write");
    if (EventOnFd("write", fd)) {
        real(fd, buf, n / 2);
        Freeze();
    }
    return real(fd, buf, n);
}

int mkdir(const char* path, mode_t mode) {
    return Pass<int>("mkdir", path, path, mode);
}
int rmdir(const char* path) {
    return Pass<int>("rmdir", path, path);
}
int unlink(const char* path) {
    return Pass<int>("unlink", path, path);
}
int remove(const char* path) {
    return Pass<int>("remove", path, path);
}
int symlink(const char* target, const char* path) {
    return Pass<int>("symlink", path, target, path);
}

int rename(const char* from, const char* to) {
    if ((Watched(from) || Watched(to)) && Event("rename", from))
        Freeze();
    return Real<int (*)(const char*, const char*)>("rename")(from, to);
}

} // extern "C"
