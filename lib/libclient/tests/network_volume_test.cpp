#include "file-op.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <linux/magic.h>
#include <string>
#include <sys/statfs.h>

#include "temp_dir.h"

// No network volume can be mounted on a test machine without a server, so statfs is interposed
// for this executable alone: the real call runs, and for paths below g_network_root only the
// file-system type it reports is replaced by g_magic, as a kernel client of that type would.
namespace {
std::string g_network_root;
long g_magic = 0;
} // namespace

extern "C" int statfs(const char* path, struct statfs* buf) __THROW {
    using Real = int (*)(const char*, struct statfs*);
    static const Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "statfs"));
    const int rc = real(path, buf);
    if (rc == 0 && !g_network_root.empty() && std::string(path).rfind(g_network_root, 0) == 0)
        buf->f_type = g_magic;
    return rc;
}

namespace {

struct VolumeType {
    const char* name;
    long magic;
    bool network;
};

class NetworkVolume : public ::testing::TestWithParam<VolumeType> {
protected:
    void TearDown() override { g_network_root.clear(); }
    testsupport::TempDir tmp;
};

// isMountPoint asks whether a path lies on a network file system (NFS or SMB in any dialect);
// local, FAT and memory volumes answer false.
TEST_P(NetworkVolume, CountsAsNetworkMountOnlyForNetworkFileSystems) {
    g_network_root = tmp.path();
    g_magic = GetParam().magic;
    EXPECT_EQ(GetParam().network, isMountPoint(tmp.path().c_str()));
    g_network_root.clear();
    EXPECT_FALSE(isMountPoint(tmp.path().c_str())) << "the same folder on its real, local volume";
}

INSTANTIATE_TEST_SUITE_P(Types, NetworkVolume,
                         ::testing::Values(VolumeType{"Nfs", NFS_SUPER_MAGIC, true},
                                           VolumeType{"Cifs", static_cast<long>(CIFS_SUPER_MAGIC), true},
                                           VolumeType{"Smb2", static_cast<long>(SMB2_SUPER_MAGIC), true},
                                           VolumeType{"Ext4", EXT4_SUPER_MAGIC, false},
                                           VolumeType{"Fat", MSDOS_SUPER_MAGIC, false}),
                         [](const auto& info) { return std::string(info.param.name); });

// A mount point is not what the name asks about: "/" and "/proc" are mount points of local
// volumes, so they answer false, as a plain folder does.
TEST(MountPoint, LocalMountPointsAndPlainFoldersAreNotNetworkMounts) {
    testsupport::TempDir plain;
    for (const char* path : {"/", "/proc", plain.path().c_str()})
        EXPECT_FALSE(isMountPoint(path)) << path;
}

} // namespace
