#include "volume_space.h"

#include <cerrno>
#include <string>
#include <sys/statvfs.h>

namespace {

const uint64_t kMinByteMargin = 4u << 20;
const uint64_t kMinInodeMargin = 32;

uint64_t WithMargin(uint64_t need, uint64_t minimum) {
    const uint64_t margin = need / 16 > minimum ? need / 16 : minimum;
    return need + margin;
}

} // namespace

int VolumeSpace::Read(const ustring& path, VolumeSpace& space) {
    std::string at = path.c_str();
    struct statvfs vfs;
    // The per-user folders may not exist before the first install; their volume is the one of
    // the nearest folder that does.
    while (statvfs(at.c_str(), &vfs) != 0) {
        const int err = errno;
        const size_t slash = at.find_last_of('/');
        if (err != ENOENT || slash == std::string::npos)
            return err;
        at = slash == 0 ? std::string("/") : at.substr(0, slash);
    }
    space.block_size = vfs.f_frsize ? vfs.f_frsize : vfs.f_bsize;
    space.bytes_free = static_cast<uint64_t>(vfs.f_bavail) * space.block_size;
    space.inodes_free = vfs.f_favail;
    space.counts_inodes = vfs.f_files != 0;
    return 0;
}

uint64_t VolumeSpace::BytesNeeded(const PackageFootprint& footprint) {
    return WithMargin(footprint.bytes, kMinByteMargin);
}

uint64_t VolumeSpace::InodesNeeded(const PackageFootprint& footprint) {
    return WithMargin(footprint.inodes, kMinInodeMargin);
}

bool VolumeSpace::Fits(const PackageFootprint& footprint) const {
    if (BytesNeeded(footprint) > bytes_free)
        return false;
    return !counts_inodes || InodesNeeded(footprint) <= inodes_free;
}
