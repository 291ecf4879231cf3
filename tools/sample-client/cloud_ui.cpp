// cloud-ui [--ignore-sigterm]
//
// A stand-in for the client interface that the launcher installs and opens. It behaves the way
// the launcher expects the real one to: it announces its process id in ~/.Velmora/ui.pid, runs
// until it is asked to end with SIGTERM, takes a moment to save its state, and removes the pid
// file on the way out. Its life is written to ~/.Velmora/cloud-ui.log, with the version read
// from the INFO file of the bundle it runs from. --ignore-sigterm makes it a client that hangs
// on shutdown, which only SIGKILL ends.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string installFolder() {
    const char* home = getenv("HOME");
    return std::string(home ? home : "") + "/.Velmora";
}

std::string executablePath() {
    char buf[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
    return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

// major.minor.build from Contents/Resources/INFO next to Contents/MacOS/cloud-ui.
std::string version() {
    std::string exe = executablePath();
    std::string contents = exe.substr(0, exe.rfind('/'));
    contents = contents.substr(0, contents.rfind('/'));
    std::ifstream in(contents + "/Resources/INFO");
    std::string line, major = "?", minor = "?", build = "?";
    while (std::getline(in, line)) {
        const size_t eq = line.find('=');
        if (eq == std::string::npos)
            continue;
        const std::string key = line.substr(0, eq), value = line.substr(eq + 1);
        if (key == "major_version")
            major = value;
        else if (key == "minor_version")
            minor = value;
        else if (key == "build_version")
            build = value;
    }
    return major + "." + minor + "." + build;
}

void logLine(const std::string& text) {
    char stamp[64];
    const time_t now = time(nullptr);
    struct tm tm;
    localtime_r(&now, &tm);
    strftime(stamp, sizeof(stamp), "%b %d %H:%M:%S", &tm);
    std::ofstream out(installFolder() + "/cloud-ui.log", std::ios::app);
    out << stamp << " cloud-ui " << version() << " (pid " << getpid() << ") " << text << "\n";
}

// The pid named by ui.pid when that process is a cloud-ui that is still alive, else 0.
pid_t runningInstance(const std::string& pidFile) {
    std::ifstream in(pidFile);
    std::string line;
    if (!std::getline(in, line) || line.compare(0, 4, "pid=") != 0)
        return 0;
    const pid_t pid = static_cast<pid_t>(atol(line.c_str() + 4));
    if (pid <= 0 || pid == getpid())
        return 0;
    char buf[PATH_MAX];
    const ssize_t n = readlink(("/proc/" + std::to_string(pid) + "/exe").c_str(), buf, sizeof(buf) - 1);
    if (n <= 0)
        return 0;
    const std::string exe(buf, static_cast<size_t>(n));
    return exe.size() >= 9 && exe.compare(exe.size() - 9, 9, "/cloud-ui") == 0 ? pid : 0;
}

bool writePidFile(const std::string& pidFile) {
    // Written aside and renamed, so the launcher never reads half a number.
    const std::string tmp = pidFile + ".new";
    {
        std::ofstream out(tmp, std::ios::trunc);
        out << "pid=" << getpid() << "\n";
        if (!out.flush())
            return false;
    }
    return rename(tmp.c_str(), pidFile.c_str()) == 0;
}

} // namespace

int main(int argc, char** argv) {
    const bool ignoreTerm = argc > 1 && std::strcmp(argv[1], "--ignore-sigterm") == 0;
    const std::string dir = installFolder();
    mkdir(dir.c_str(), 0755);
    const std::string pidFile = dir + "/ui.pid";

    if (const pid_t other = runningInstance(pidFile)) {
        logLine("found the client already running as pid " + std::to_string(other) + ", leaving it be");
        return 0;
    }

    sigset_t wanted;
    sigemptyset(&wanted);
    sigaddset(&wanted, SIGINT);
    sigaddset(&wanted, SIGHUP);
    if (ignoreTerm)
        signal(SIGTERM, SIG_IGN);
    else
        sigaddset(&wanted, SIGTERM);
    sigprocmask(SIG_BLOCK, &wanted, nullptr);

    if (!writePidFile(pidFile)) {
        fprintf(stderr, "cloud-ui: cannot write %s: %s\n", pidFile.c_str(), strerror(errno));
        return 1;
    }
    logLine(ignoreTerm ? "started, ignoring SIGTERM" : "started");

    int sig = 0;
    while (sigwait(&wanted, &sig) != 0) {
    }
    logLine(std::string("stopping on ") + (sig == SIGTERM ? "SIGTERM" : sig == SIGINT ? "SIGINT" : "SIGHUP"));
    // Saving the state takes the real client a moment; the launcher has to wait for it.
    usleep(500 * 1000);
    // A client started meanwhile may have taken the file over; it stays its.
    if (runningInstance(pidFile) == 0)
        unlink(pidFile.c_str());
    logLine("stopped");
    return 0;
}
