// bench-timeit -o <result file> -- <command> [args...]
//
// Runs one command and appends "<wall seconds> <peak resident KiB> <exit status>" to the result
// file. The clock runs from just before the fork to the return of wait4(), so it covers exec,
// the dynamic loader and everything up to the exit; the peak comes from the child's own rusage,
// which counts neither this program nor processes the child leaves behind.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int usage() {
    fprintf(stderr, "usage: bench-timeit -o <result file> -- <command> [args...]\n");
    return 2;
}

double now() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

} // namespace

int main(int argc, char* argv[]) {
    const char* out = nullptr;
    int i = 1;
    for (; i < argc; ++i) {
        if (std::strcmp(argv[i], "-o") == 0 && i + 1 < argc)
            out = argv[++i];
        else if (std::strcmp(argv[i], "--") == 0) {
            ++i;
            break;
        } else
            return usage();
    }
    if (!out || i >= argc)
        return usage();

    FILE* result = fopen(out, "a");
    if (!result) {
        fprintf(stderr, "bench-timeit: %s: %s\n", out, strerror(errno));
        return 1;
    }

    const double start = now();
    const pid_t pid = fork();
    if (pid < 0) {
        fprintf(stderr, "bench-timeit: fork: %s\n", strerror(errno));
        return 1;
    }
    if (pid == 0) {
        fclose(result);
        execvp(argv[i], argv + i);
        fprintf(stderr, "bench-timeit: %s: %s\n", argv[i], strerror(errno));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    while (wait4(pid, &status, 0, &usage) < 0) {
        if (errno != EINTR) {
            fprintf(stderr, "bench-timeit: wait4: %s\n", strerror(errno));
            return 1;
        }
    }
    const double wall = now() - start;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    // ru_maxrss is in KiB on Linux.
    fprintf(result, "%.6f %ld %d\n", wall, usage.ru_maxrss, code);
    fclose(result);
    return code;
}
