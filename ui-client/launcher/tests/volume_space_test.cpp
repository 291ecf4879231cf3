#include <gtest/gtest.h>

#include "temp_dir.h"
#include "volume_space.h"

// The margin decides close calls both ways, and a volume that keeps no inode count (it reports
// none free) must not block every upgrade.
TEST(VolumeSpaceTest, FitsWithTheMarginAndIgnoresInodesOnVolumesThatCountNone) {
    PackageFootprint copy;
    copy.bytes = 160u << 20;
    copy.inodes = 16000;
    VolumeSpace space;
    space.bytes_free = copy.bytes + (10u << 20);
    space.inodes_free = copy.inodes + 1000;
    space.counts_inodes = true;
    EXPECT_TRUE(space.Fits(copy));
    space.bytes_free = copy.bytes + (10u << 20) - 1;
    EXPECT_FALSE(space.Fits(copy)) << "a sixteenth more than the copy is the least that fits";
    space.bytes_free = copy.bytes + (10u << 20);
    space.inodes_free = copy.inodes + 999;
    EXPECT_FALSE(space.Fits(copy));
    space.inodes_free = 0;
    space.counts_inodes = false;
    EXPECT_TRUE(space.Fits(copy));
}

// Before the first install the per-user folders do not exist yet.
TEST(VolumeSpaceTest, ReadsTheVolumeOfTheNearestExistingFolder) {
    testsupport::TempDir tmp;
    VolumeSpace here, below;
    ASSERT_EQ(0, VolumeSpace::Read(tmp.path().c_str(), here));
    ASSERT_EQ(0, VolumeSpace::Read((tmp / "not/yet/there").c_str(), below));
    EXPECT_GT(below.block_size, 0u);
    EXPECT_EQ(here.block_size, below.block_size);
    EXPECT_NE(0, VolumeSpace::Read("relative/nowhere", below));
}
