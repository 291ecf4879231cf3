// The power-cut file system must really lose what was not made durable, and keep what was: a
// tool that kept everything would let any upgrade pass.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "file_tree.h"
#include "powercut_mount.h"
#include "temp_dir.h"

using testsupport::exists;
using testsupport::readFile;
using testsupport::writeFile;

namespace {

void Sync(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0) << path;
    EXPECT_EQ(0, fsync(fd)) << path;
    close(fd);
}

class PowercutFs : public ::testing::Test {
protected:
    void SetUp() override {
        if (!mount_.Mounted())
            GTEST_SKIP() << mount_.Skipped();
    }
    testsupport::TempDir tmp_;
    const std::string root_ = tmp_ / "mnt";
    const bool made_ = testsupport::writeFile(tmp_ / "mnt/.keep", "") && unlink((tmp_ / "mnt/.keep").c_str()) == 0;
    PowercutMount mount_{tmp_ / "backing", root_};
};

TEST_F(PowercutFs, WorstCutLosesEveryUnsyncedWriteAndNameAndKeepsWhatWasSynced) {
    const std::string r = root_;
    ASSERT_TRUE(writeFile(r + "/old", "durable"));
    ASSERT_TRUE(writeFile(r + "/gone", "durable too"));
    ASSERT_TRUE(writeFile(r + "/moved", "moved"));
    ASSERT_TRUE(mount_.Sync());

    ASSERT_TRUE(writeFile(r + "/old", "overwritten")); // data only, never synced
    ASSERT_EQ(0, unlink((r + "/gone").c_str()));       // folder not synced
    ASSERT_EQ(0, rename((r + "/moved").c_str(), (r + "/to").c_str()));
    ASSERT_EQ(0, mkdir((r + "/d").c_str(), 0755));
    ASSERT_TRUE(writeFile(r + "/d/both", "both synced"));
    Sync(r + "/d/both");
    Sync(r + "/d");
    ASSERT_TRUE(writeFile(r + "/d/name-synced", "lost data")); // data never synced
    Sync(r + "/d");
    ASSERT_TRUE(writeFile(r + "/d/syncfs", "syncfs"));
    {
        // syncfs reaches no FUSE server: the kernel forwards it to virtiofs only.
        const int fd = open(r.c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(0, syncfs(fd));
        close(fd);
    }
    Sync(r); // makes d and the other names of the root durable from here on, not "old"'s data
    ASSERT_EQ(0, unlink((r + "/to").c_str()));
    ASSERT_TRUE(writeFile(r + "/data-synced", "data")); // its name is the folder's
    Sync(r + "/data-synced");

    ASSERT_TRUE(mount_.Cut("worst", 1)) << mount_.Report();
    EXPECT_EQ("durable", readFile(r + "/old"));
    EXPECT_FALSE(exists(r + "/gone")) << "removed before the folder was synced, so that stays";
    EXPECT_TRUE(exists(r + "/to")) << "removed after the last sync: back";
    EXPECT_EQ("moved", readFile(r + "/to"));
    EXPECT_FALSE(exists(r + "/moved"));
    EXPECT_FALSE(exists(r + "/data-synced"));
    EXPECT_EQ("both synced", readFile(r + "/d/both"));
    EXPECT_TRUE(exists(r + "/d/name-synced"));
    EXPECT_EQ("", readFile(r + "/d/name-synced"));
    EXPECT_FALSE(exists(r + "/d/syncfs"));
}

// A random cut keeps a first part of each folder's changes, in order, and of each file at most
// what was written: never something that was not there.
TEST_F(PowercutFs, RandomCutKeepsAnOrderedPartOfEachFolderAndAPrefixOfEachFile) {
    const std::string r = root_;
    ASSERT_EQ(0, mkdir((r + "/d").c_str(), 0755));
    ASSERT_TRUE(mount_.Sync());
    const std::string text(3000, 'x');
    bool some_partial = false, some_cut_short = false;
    for (unsigned seed = 1; seed <= 6; ++seed) {
        for (int i = 0; i < 40; ++i)
            ASSERT_TRUE(writeFile(r + "/d/f" + std::to_string(i), text + std::to_string(i)));
        ASSERT_TRUE(mount_.Cut("random", seed));
        int kept = 0;
        while (kept < 40 && exists(r + "/d/f" + std::to_string(kept)))
            ++kept;
        for (int i = 0; i < 40; ++i) {
            const std::string name = r + "/d/f" + std::to_string(i), want = text + std::to_string(i);
            EXPECT_EQ(i < kept, exists(name)) << "seed " << seed << ": f" << i << " out of order";
            const std::string got = i < kept ? readFile(name) : "";
            EXPECT_EQ(got, want.substr(0, got.size())) << "seed " << seed;
            some_cut_short |= i < kept && got.size() < want.size();
            unlink(name.c_str());
        }
        some_partial |= kept > 0 && kept < 40;
        Sync(r + "/d");
    }
    EXPECT_TRUE(some_partial) << "no cut kept a part of the folder";
    EXPECT_TRUE(some_cut_short) << "no cut lost a part of a file";
}

// The journal's view: every name stays, the data of a file that was not synced is lost, cut
// short or kept, file by file; a synced file keeps its data.
TEST_F(PowercutFs, NamesCutKeepsEveryNameButNotTheUnsyncedData) {
    const std::string r = root_, text(5000, 'y');
    ASSERT_TRUE(writeFile(r + "/synced", text));
    Sync(r + "/synced");
    for (int i = 0; i < 30; ++i)
        ASSERT_TRUE(writeFile(r + "/f" + std::to_string(i), text));
    ASSERT_TRUE(mount_.Cut("names", 3));
    EXPECT_EQ(text, readFile(r + "/synced"));
    int whole = 0;
    for (int i = 0; i < 30; ++i) {
        const std::string got = readFile(r + "/f" + std::to_string(i));
        ASSERT_TRUE(exists(r + "/f" + std::to_string(i)));
        EXPECT_EQ(got, text.substr(0, got.size()));
        whole += got == text;
    }
    EXPECT_GT(whole, 0);
    EXPECT_LT(whole, 30);
}

} // namespace
