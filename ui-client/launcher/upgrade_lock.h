#pragma once

#include "ustring.h"

// Keeps two launchers from upgrading one per-user copy at once. The single-instance rule is per
// executable, so a second bundle on the machine (an older copy in Downloads beside the installed
// one, or autostart racing a click) would otherwise unpack into the same folder and leave a
// mixture of both packages. Held by the worker from the upgrade decision to the end of the
// upgrade; an flock, so the kernel lets go when the launcher dies.
class UpgradeLock {
public:
    // Locks install_folder + "/.upgrade.lock", waiting for a launcher that holds it. A lock file
    // that cannot be made or locked (read-only folder, not a regular file) is logged and the
    // upgrade goes on unlocked rather than never.
    explicit UpgradeLock(const ustring& install_folder);
    ~UpgradeLock();
    UpgradeLock(const UpgradeLock&) = delete;
    UpgradeLock& operator=(const UpgradeLock&) = delete;

    bool Held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};
