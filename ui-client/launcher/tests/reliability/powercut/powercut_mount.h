#pragma once

#include <string>
#include <sys/types.h>

// powercut-fs mounted over a folder for the life of the object, and the commands it takes.
// Needs root and /dev/fuse; Skipped() says why when they are missing, and nothing is mounted.
class PowercutMount {
public:
    // The backing folder is created; it takes the mount point's owner and mode, so the mount's
    // root belongs to whoever the mount point belonged to.
    PowercutMount(const std::string& backing, const std::string& mount_point);
    ~PowercutMount();
    PowercutMount(const PowercutMount&) = delete;
    PowercutMount& operator=(const PowercutMount&) = delete;

    const std::string& Skipped() const { return skipped_; }
    bool Mounted() const { return pid_ > 0; }
    // Loses power (mode "worst", "random" or "names", see powercut_fs.cpp), seeded. Every
    // process that wrote on the mount must have ended. False when the command failed.
    bool Cut(const std::string& mode, unsigned seed);
    // Takes everything as durable, like a clean shutdown.
    bool Sync();
    // What the last cut lost.
    std::string Report() const;

private:
    bool Command(const std::string& text);

    std::string mount_point_;
    std::string skipped_;
    pid_t pid_ = 0;
};
