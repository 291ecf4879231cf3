#include "file-op.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "file_tree.h"
#include "owner_only.h"
#include "temp_dir.h"

namespace {

using testsupport::exists;
using testsupport::readFile;
using testsupport::writeFile;

// A scratch folder under the absolute path that the file system stores, so that exact tests
// are not thrown off by a symbolic link in the temporary folder's own path.
class FileOp : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return root + "/" + name; }
    testsupport::TempDir tmp;
    std::string root = Canonical(tmp.path());

    static unsigned Perms(const std::string& p) {
        struct stat st;
        return stat(p.c_str(), &st) == 0 ? st.st_mode & 07777 : 0xFFFFu;
    }
    static std::string Canonical(const std::string& p) {
        char* r = realpath(p.c_str(), nullptr);
        std::string s = r ? r : p;
        free(r);
        return s;
    }
};

TEST_F(FileOp, ExactExistenceAcceptsOnlyTheStoredAbsoluteSpellingUpToNormalisation) {
    ASSERT_TRUE(writeFile(path("caf\xC3\xA9"), "x"));
    ASSERT_EQ(0, symlink(root.c_str(), path("link").c_str()));
    EXPECT_TRUE(IsFileExist(path("caf\xC3\xA9").c_str(), true));
    EXPECT_TRUE(IsFileExist(path("cafe\xCC\x81").c_str(), true));  // decomposed e + U+0301
    EXPECT_FALSE(IsFileExist(path("CAF\xC3\x89").c_str(), false)); // this volume tells case apart
    EXPECT_FALSE(IsFileExist((root + "/").c_str(), true));
    EXPECT_FALSE(IsFileExist(path("link/caf\xC3\xA9").c_str(), true));
    EXPECT_FALSE(IsFileExist((root + "//caf\xC3\xA9").c_str(), true));
    EXPECT_FALSE(IsFileExist("", false));
    const auto cwd = std::filesystem::current_path();
    std::filesystem::current_path(root);
    EXPECT_TRUE(IsFileExist("caf\xC3\xA9", false));
    EXPECT_FALSE(IsFileExist("caf\xC3\xA9", true));
    std::filesystem::current_path(cwd);
}

TEST_F(FileOp, FileInfoDescribesLinksThemselvesAndMissingPathsAsAbsentFiles) {
    ASSERT_EQ(0, symlink("a-rather-long-target-name", path("dangling").c_str()));
    FILE_INFO info;
    ASSERT_EQ(0, GetFileInfo(path("dangling").c_str(), info));
    EXPECT_EQ(FS_TYPE_LINK, info.type);
    EXPECT_EQ(25, info.size);
    time_t before = time(nullptr);
    ASSERT_EQ(0, GetFileInfo(path("missing").c_str(), info));
    EXPECT_FALSE(info.exists);
    EXPECT_EQ(FS_TYPE_FILE, info.type);
    EXPECT_GE(info.mtime, before);
}

TEST_F(FileOp, CopyOfALargeFileIsByteIdenticalAndRemovesTheSourceOnlyWhenAsked) {
    std::string data(32 * 1024 * 1024 + 4099, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>((i * 7919) >> 5);
    ASSERT_TRUE(writeFile(path("big"), data));
    ASSERT_EQ(0, FSCopy(path("big").c_str(), path("copy").c_str(), false));
    EXPECT_TRUE(readFile(path("copy")) == data);
    ASSERT_TRUE(writeFile(path("empty"), ""));
    ASSERT_EQ(0, FSCopy(path("empty").c_str(), path("copy").c_str(), true));
    EXPECT_EQ("", readFile(path("copy")));
    EXPECT_FALSE(exists(path("empty")));
    EXPECT_EQ(-1, FSCopy(path("empty").c_str(), path("copy2").c_str(), false));
}

TEST_F(FileOp, CopyOntoAFullVolumeReportsNoSpaceAndKeepsTheSource) {
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "/dev/full is not available for writing here";
    ASSERT_TRUE(writeFile(path("src"), "some bytes"));
    EXPECT_EQ(-2, FSCopy(path("src").c_str(), "/dev/full", true));
    EXPECT_TRUE(exists(path("src")));
}

TEST_F(FileOp, MoveAcrossVolumesRecreatesTheTreeAndRemovesTheSource) {
    char other_tmpl[] = "/dev/shm/velmora-fileop-XXXXXX";
    if (!mkdtemp(other_tmpl))
        GTEST_SKIP() << "no writable /dev/shm to serve as a second file system";
    const std::string other = other_tmpl;
    std::unique_ptr<const char, void (*)(const char*)> cleanup(other_tmpl, [](const char* p) {
        std::error_code ec;
        std::filesystem::remove_all(p, ec);
    });
    struct stat here, there;
    ASSERT_EQ(0, stat(root.c_str(), &here));
    ASSERT_EQ(0, stat(other.c_str(), &there));
    if (here.st_dev == there.st_dev)
        GTEST_SKIP() << "/dev/shm lies on the same file system as the temporary folder";

    ASSERT_TRUE(writeFile(path("tree/a.txt"), "a"));
    ASSERT_TRUE(writeFile(path("tree/sub/b.txt"), "bb"));
    ASSERT_EQ(0, mkdir(path("tree/empty").c_str(), 0755));
    ASSERT_EQ(0, symlink(root.c_str(), path("alink").c_str()));
    const auto before = testsupport::snapshot(path("tree"));
    EXPECT_EQ(0, FSRename(path("tree").c_str(), (other + "/tree").c_str(), true));
    EXPECT_EQ(before, testsupport::snapshot(other + "/tree"));
    EXPECT_FALSE(exists(path("tree")));
    EXPECT_EQ(0, FSRename(path("alink").c_str(), (other + "/alink").c_str(), false));
    EXPECT_TRUE(exists(path("alink"))); // links are not carried across volumes
    EXPECT_FALSE(exists(other + "/alink"));
}

TEST_F(FileOp, RenameReportsMissingSourceAndOverlongNamesWithTheirOwnCodes) {
    ASSERT_TRUE(writeFile(path("f"), "x"));
    EXPECT_EQ(-1, FSRename("", path("g").c_str(), false));
    EXPECT_EQ(-2, FSRename(path("nope").c_str(), path("g").c_str(), false));
    EXPECT_EQ(-2, FSRename(path("F").c_str(), path("g").c_str(), true));
    EXPECT_EQ(-100, FSRename(path("f").c_str(), path(std::string(256, 'n')).c_str(), false));
    EXPECT_EQ(-3, FSRename(path("f").c_str(), path("no/such/folder").c_str(), false));
    EXPECT_EQ(0, FSRename(path("f").c_str(), path("g").c_str(), true));
}

TEST_F(FileOp, MakeDirWithParentsStopsAtTheSlashAfterAFileUnlessForced) {
    ASSERT_EQ(0, mkdir(path("x").c_str(), 0755));
    ASSERT_TRUE(writeFile(path("x/f"), "data"));
    ustring deep = path("x/f/y").c_str();
    char* stop = nullptr;
    EXPECT_EQ(-1, FSMKDirP(deep, &stop, false, 0xFFFF));
    EXPECT_EQ(ENOTDIR, errno);
    EXPECT_EQ(deep.c_str() + path("x/f").size(), stop);
    ustring file = path("x/f").c_str();
    EXPECT_EQ(-1, FSMKDirP(file, &stop, false, 0xFFFF));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(file.c_str() + file.size(), stop);
    EXPECT_EQ(-1, FSMKDir(file, true));
    EXPECT_EQ(0, FSMKDirP(deep, &stop, true, 0xFFFF));
    EXPECT_EQ(deep.c_str() + deep.size(), stop);
    EXPECT_TRUE(std::filesystem::is_directory(path("x/f/y")));
}

TEST_F(FileOp, ExplicitFolderModeBypassesTheUmaskOnlyForTheCall) {
    mode_t old = umask(022);
    int explicit_mode = FSMKDirP(path("open/inner").c_str(), nullptr, false, 0777);
    mode_t during = umask(022);
    int plain = FSMKDir(path("plain/a/b").c_str(), true);
    int no_parents = FSMKDir(path("missing/c").c_str(), false);
    umask(old);
    ASSERT_EQ(0, explicit_mode);
    ASSERT_EQ(0, plain);
    EXPECT_EQ(-2, no_parents);
    EXPECT_EQ(mode_t(022), during);
    EXPECT_EQ(0777u, Perms(path("open/inner")));
    EXPECT_EQ(0755u, Perms(path("plain/a/b")));
}

// A package may ship read-only or closed folders; the tree must go all the same, as its owner
// removes it, while a read-only folder the tree only links to keeps its mode and content.
TEST_F(FileOp, RemovingATreeEmptiesLockedFoldersButNeverFollowsALinkOutOfIt) {
    ASSERT_EQ(0, mkdir(path("keep").c_str(), 0755));
    ASSERT_TRUE(writeFile(path("keep/precious"), "p"));
    ASSERT_EQ(0, FSMKDir(path("t/a/b").c_str(), true));
    ASSERT_TRUE(writeFile(path("t/a/b/f"), "f"));
    ASSERT_TRUE(writeFile(path("t/g"), "g"));
    ASSERT_TRUE(writeFile(path("t/ro/closed/h"), "h") && writeFile(path("t/ro/i"), "i"));
    ASSERT_EQ(0, symlink(path("keep").c_str(), path("t/a/tokeep").c_str()));
    ASSERT_EQ(0, symlink(path("keep").c_str(), path("t/ro/tokeep").c_str()));
    ASSERT_EQ(0, chmod(path("keep").c_str(), 0555));
    ASSERT_EQ(0, chmod(path("t/ro/closed").c_str(), 0));
    ASSERT_EQ(0, chmod(path("t/ro").c_str(), 0555));
    int removed = 0;
    {
        testsupport::OwnerOnly owner;
        removed = FSRemove(path("t").c_str(), false);
    }
    EXPECT_EQ(0, removed);
    EXPECT_FALSE(exists(path("t")));
    EXPECT_EQ("p", readFile(path("keep/precious")));
    EXPECT_EQ(0555u, Perms(path("keep")));
    EXPECT_EQ(0, FSRemove(path("t").c_str(), false));
}

struct ListingCase {
    const char* name;
    int flags;
    int64_t file_size;
    time_t file_mtime;
};

class FileOpListing : public FileOp, public ::testing::WithParamInterface<ListingCase> {};

TEST_P(FileOpListing, GivesEveryEntryWithTimeAndSizeOnlyWhenDetailsAreAsked) {
    ASSERT_TRUE(writeFile(path("d/file"), "12345"));
    ASSERT_EQ(0, FSUTime(path("d/file").c_str(), 1000, 2000));
    ASSERT_EQ(0, symlink("file", path("d/link").c_str()));
    DIR_HANDLE h;
    ASSERT_EQ(0, FSOpenDir(path("d").c_str(), GetParam().flags, h));
    std::map<std::string, DIR_ENTRY> seen;
    DIR_ENTRY e;
    while (FSReadDir(h, e) == 1)
        seen[e.name.c_str()] = e;
    EXPECT_EQ(0, FSReadDir(h, e));
    FSCloseDir(h);
    ASSERT_EQ(4u, seen.size());
    EXPECT_EQ(FS_TYPE_DIR, seen["."].type);
    EXPECT_EQ(FS_TYPE_FILE, seen["file"].type);
    EXPECT_EQ(FS_TYPE_LINK, seen["link"].type);
    EXPECT_EQ(GetParam().file_size, seen["file"].size);
    EXPECT_EQ(GetParam().file_mtime, seen["file"].mtime);
}

INSTANTIATE_TEST_SUITE_P(Flags, FileOpListing,
                         ::testing::Values(ListingCase{"Plain", 0, 0, 0},
                                           ListingCase{"WithDetails", FS_DIR_WITH_DETAILS, 5, 2000}),
                         [](const ::testing::TestParamInfo<ListingCase>& info) { return info.param.name; });

TEST_F(FileOp, TemporaryFileIsANewReadableFileInTheFolderAsked) {
    ustring first, second;
    ASSERT_EQ(0, FSMktemp(root.c_str(), first));
    ASSERT_EQ(0, FSMktemp(root.c_str(), second));
    const std::filesystem::path made(first.c_str());
    EXPECT_EQ(root, made.parent_path().string());
    EXPECT_EQ("", readFile(made.string()));
    EXPECT_EQ(0644u, Perms(made.string()));
    EXPECT_NE(first, second);
    EXPECT_EQ(-1, FSMktemp(path("nope").c_str(), first)) << "a missing folder";
}

TEST_F(FileOp, TemporaryPathNamesAnEightCharacterEntryOfTheFolderWithoutCreatingIt) {
    ustring out;
    ASSERT_EQ(0, FSCreateTempPath(root.c_str(), out));
    const std::filesystem::path made(out.c_str());
    EXPECT_EQ(root, made.parent_path().string());
    EXPECT_EQ(8u, made.filename().string().size()) << made;
    EXPECT_FALSE(exists(out.c_str()));
}

TEST_F(FileOp, AFileIsLockedOnlyWhenPermissionsRefuseTheAccess) {
    ASSERT_TRUE(writeFile(path("plain"), "x"));
    ASSERT_EQ(0, chmod(path("plain").c_str(), 0644));
    // No execute bit for anyone refuses X_OK even to root, so this holds for every user.
    EXPECT_TRUE(isFileLocked(path("plain").c_str(), X_OK));
    EXPECT_FALSE(isFileLocked(path("plain").c_str(), R_OK));
    EXPECT_FALSE(isFileLocked(path("missing").c_str(), R_OK)) << "a missing file is not locked";
}

TEST_F(FileOp, ALocalVolumeIsNeitherANetworkMountNorFat) {
    EXPECT_FALSE(isMountPoint(root.c_str()));
    EXPECT_FALSE(IsMSDOS(root.c_str()));
    EXPECT_FALSE(isMountPoint(path("missing").c_str())) << "a path that cannot be inspected";
    EXPECT_FALSE(IsMSDOS(path("missing").c_str()));
}

int Shell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A real FAT volume, which ignores letter case, served by fusefat from an image file: no kernel
// driver needed, but FUSE (/dev/fuse, and root or a fuse group) is. Unmounted after each test.
class FatVolume : public FileOp {
protected:
    void SetUp() override {
        if (access("/dev/fuse", R_OK | W_OK) != 0)
            GTEST_SKIP() << "FAT volume tests need FUSE: /dev/fuse is not usable by this user";
        if (Shell("command -v fusefat && command -v mkfs.vfat && command -v fusermount3 >/dev/null") != 0)
            GTEST_SKIP() << "FAT volume tests need fusefat, mkfs.vfat and fusermount3 (scripts/setup)";
        ASSERT_EQ(0, mkdir(path("fat").c_str(), 0755));
        ASSERT_EQ(0, Shell("mkfs.vfat -C '" + path("fat.img") + "' 8192 >/dev/null"));
        if (Shell("fusefat -o rw+ '" + path("fat.img") + "' '" + path("fat") + "' >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "mounting with fusefat is not permitted here (FUSE needs root or a fuse group)";
        mounted = true;
        fat = path("fat");
    }
    void TearDown() override {
        if (mounted) {
            EXPECT_EQ(0, Shell("fusermount3 -u '" + fat + "'"));
        }
    }
    bool mounted = false;
    std::string fat;
};

// The volume folds letter case; the exact lookups and the real path give what it stores.
TEST_F(FatVolume, ExactLookupsGiveTheStoredSpellingAndTheVolumeIsReportedAsMsdos) {
    ASSERT_EQ(0, mkdir((fat + "/Sub").c_str(), 0755));
    ASSERT_TRUE(writeFile(fat + "/Sub/Data.bin", "d"));
    EXPECT_TRUE(IsFileExist((fat + "/SUB/DATA.BIN").c_str(), false));
    EXPECT_FALSE(IsFileExist((fat + "/SUB/DATA.BIN").c_str(), true));
    EXPECT_TRUE(IsFileExist((fat + "/Sub/Data.bin").c_str(), true));
    ustring asked = (fat + "/sub/DATA.BIN").c_str();
    ASSERT_EQ(0, FSGetRealPath(asked));
    EXPECT_STREQ((fat + "/Sub/Data.bin").c_str(), asked.c_str());
    EXPECT_TRUE(IsMSDOS(fat.c_str()));
    EXPECT_FALSE(isMountPoint(fat.c_str()));
}

} // namespace
