#include "upgrade_lock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "log.h"

namespace {
const char* const kComponent = "launcher_debug";
}

UpgradeLock::UpgradeLock(const ustring& install_folder) {
    const ustring path = install_folder + "/.upgrade.lock";
    // O_NONBLOCK: a FIFO planted under the name must not hold the open up; O_NOFOLLOW: nor may a
    // link make the launcher create or lock a file elsewhere.
    mkdir(install_folder.c_str(), 0755);
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0600);
    struct stat st;
    int err = fd < 0 ? errno : fstat(fd, &st) != 0 ? errno : S_ISREG(st.st_mode) ? 0 : EINVAL;
    if (err == 0 && flock(fd, LOCK_EX | LOCK_NB) != 0) {
        err = errno;
        if (err == EWOULDBLOCK) {
            Logger::LogMsg(Logger::LEVEL_INFO, kComponent,
                           "[INFO] upgrade_lock(%d): another launcher is upgrading, waiting for '%s'\n", __LINE__,
                           path.c_str());
            while ((err = flock(fd, LOCK_EX) != 0 ? errno : 0) == EINTR) {
            }
        }
    }
    if (err != 0) {
        Logger::LogMsg(Logger::LEVEL_WARNING, kComponent,
                       "[WARNING] upgrade_lock(%d): cannot lock '%s' (%s), going on without the lock\n", __LINE__,
                       path.c_str(), err == EINVAL ? "not a regular file" : strerror(err));
        if (fd >= 0)
            close(fd);
        return;
    }
    fd_ = fd;
}

UpgradeLock::~UpgradeLock() {
    if (fd_ >= 0)
        close(fd_);
}
