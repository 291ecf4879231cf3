#pragma once

#include <cstdint>

#include "extractor.h"
#include "ustring.h"

// What the volume that would hold a folder offers to the launcher's user, read with statvfs
// before an upgrade stops the client or moves its copy: a copy that cannot fit would cost the
// user the running client for nothing, and again at every start.
struct VolumeSpace {
    uint64_t block_size = 0;
    uint64_t bytes_free = 0;
    uint64_t inodes_free = 0;
    // Some volumes (btrfs, many FUSE ones) keep no inode count and report none free at all.
    bool counts_inodes = false;

    // Reads the volume of path, or of its nearest existing parent when path does not exist yet:
    // 0, or the errno value of the failed statvfs.
    static int Read(const ustring& path, VolumeSpace& space);

    // What a footprint needs, with a margin for the estimate and for what the client and the
    // log write meanwhile: a sixteenth more, and at least 4 MiB and 32 inodes more.
    static uint64_t BytesNeeded(const PackageFootprint& footprint);
    static uint64_t InodesNeeded(const PackageFootprint& footprint);

    // Whether a copy of that footprint fits next to everything already on the volume, the old
    // copy included: it stays as the backup until the new one is complete.
    bool Fits(const PackageFootprint& footprint) const;
};
