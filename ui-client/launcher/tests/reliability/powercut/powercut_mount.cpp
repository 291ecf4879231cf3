#include "powercut_mount.h"

#include "file_tree.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

bool IsFuse(const std::string& path) {
    struct statfs st;
    return statfs(path.c_str(), &st) == 0 && static_cast<uint32_t>(st.f_type) == FUSE_SUPER_MAGIC;
}

} // namespace

PowercutMount::PowercutMount(const std::string& backing, const std::string& mount_point) : mount_point_(mount_point) {
    if (geteuid() != 0) {
        skipped_ = "mounting the power-cut file system for other users (allow_other) needs root";
        return;
    }
    if (access("/dev/fuse", R_OK | W_OK) != 0) {
        skipped_ = std::string("no usable /dev/fuse: ") + strerror(errno);
        return;
    }
    struct stat st;
    if (stat(mount_point.c_str(), &st) != 0 || (mkdir(backing.c_str(), 0700) != 0 && errno != EEXIST) ||
        chown(backing.c_str(), st.st_uid, st.st_gid) != 0 || chmod(backing.c_str(), st.st_mode & 07777) != 0) {
        skipped_ = "cannot prepare " + backing + ": " + strerror(errno);
        return;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        execl(VELMORA_POWERCUT_FS, VELMORA_POWERCUT_FS, backing.c_str(), mount_point.c_str(), nullptr);
        _exit(127);
    }
    for (int i = 0; i < 1000 && pid > 0; ++i) {
        if (IsFuse(mount_point)) {
            pid_ = pid;
            return;
        }
        if (waitpid(pid, nullptr, WNOHANG) == pid)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    skipped_ = "powercut-fs did not mount on " + mount_point;
}

PowercutMount::~PowercutMount() {
    if (pid_ <= 0)
        return;
    // A client still running from the mount keeps it busy: detach it then, and end the file
    // system, which would otherwise serve the detached mount for as long as the client runs.
    if (umount(mount_point_.c_str()) != 0) {
        umount2(mount_point_.c_str(), MNT_DETACH);
        kill(pid_, SIGTERM);
    }
    waitpid(pid_, nullptr, 0);
}

bool PowercutMount::Command(const std::string& text) {
    const int fd = open((mount_point_ + "/.powercut").c_str(), O_WRONLY | O_CLOEXEC);
    const bool ok = fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (fd >= 0)
        close(fd);
    return ok;
}

bool PowercutMount::Cut(const std::string& mode, unsigned seed) {
    return Command("cut " + mode + " " + std::to_string(seed));
}

bool PowercutMount::Sync() {
    return Command("sync");
}

std::string PowercutMount::Report() const {
    return testsupport::readFile(mount_point_ + "/.powercut");
}
