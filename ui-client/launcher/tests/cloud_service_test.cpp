#include <QCoreApplication>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "archive_builder.h"
#include "file_tree.h"
#include "log_capture.h"
#include "mac/mac-service.h"
#include "owner_only.h"
#include "temp_dir.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

const auto V = [](const std::string& build) { return "[Version]\nbuild_version=" + build + "\n"; };

// Built inside a bundle of its own (two levels above the executable), whose Contents each case fills.
class BundleTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::remove_all(contents_ + "/Resources");
        fs::create_directories(contents_ + "/Resources/package");
    }
    bool Logged(const std::string& text) const { return log_.Logged(text); }
    std::string App() const { return home_.path() + "/.Velmora/Velmora.app"; }
    std::string Home(const std::string& rel) const { return home_.path() + "/" + rel; }
    void WriteOldInstall() {
        writeFile(App() + "/Contents/Info.plist", "old");
        writeFile(App() + "/Contents/Resources/only-old.txt", "user's copy");
    }
    // A package of a client that can run: its executable and an INFO with a build number.
    static ArchiveBuilder Client(const std::string& plist) {
        ArchiveBuilder package;
        package.file("Contents/Info.plist", plist).file("Contents/MacOS/cloud-ui", "#!/bin/sh\n", 0755);
        return package.file("Contents/Resources/INFO", V("2"));
    }
    std::string Package() const { return contents_ + "/Resources/package/velmora.hpk"; }
    int argc_ = 1;
    char* argv_[1] = {const_cast<char*>("cloud_service_test")};
    QCoreApplication app_{argc_, argv_};
    const std::string contents_ = fs::read_symlink("/proc/self/exe").parent_path().parent_path().string();
    ScratchHome home_;
    TempDir logs_;
    LogCapture log_{logs_ / "log", "service_debug=7\n"};
};

TEST_F(BundleTest, FailsWithoutAPackageAndKeepsWhatTheUnpackLeft) {
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_TRUE(Logged("Failed to extract package, and no old installation to rollback\n"));
    EXPECT_TRUE(fs::is_directory(App()));
}

// Backups that killed runs left are removed too, even by a run that had nothing to back up.
TEST_F(BundleTest, InstallsThenReplacesPastABlockedBackupNameAndRemovesEveryBackup) {
    ASSERT_TRUE(Client("new").write(Package()));
    writeFile(App() + "_tmp/stale", "left by a killed run");
    EXPECT_EQ(0, MacService().PrepareUserEnv());
    EXPECT_FALSE(exists(App() + "_tmp"));
    WriteOldInstall();
    writeFile(App() + "_tmp/stale", "blocks the first backup name");
    EXPECT_EQ(0, MacService().PrepareUserEnv());
    EXPECT_EQ("new", readFile(App() + "/Contents/Info.plist"));
    EXPECT_FALSE(exists(App() + "/Contents/Resources/only-old.txt"));
    EXPECT_FALSE(exists(App() + "_tmp") || exists(App() + "_tmp1"));
}

// As its owner, not root: a copy holding a read-only folder must still be removable, or every
// upgrade leaves one more backup until no name is left.
TEST_F(BundleTest, UpgradesOfAPackageWithAReadOnlyFolderLeaveNoBackup) {
    ASSERT_TRUE(Client("x").dir("Contents/ro", 0555).file("Contents/ro/f", "x").write(Package()));
    OwnerOnly owner;
    for (const char* run : {"install", "first upgrade", "second upgrade"})
        EXPECT_EQ(0, MacService().PrepareUserEnv()) << run;
    EXPECT_EQ("x", readFile(App() + "/Contents/ro/f"));
    EXPECT_FALSE(exists(App() + "_tmp") || exists(App() + "_tmp1") || exists(App() + "_tmp2"));
}

// A folder someone else owns cannot be emptied: a backup or a failed copy holding one stays,
// and the log says so at each removal that failed.
void GiveAway(const std::string& folder) {
    writeFile(folder + "/f", "not ours to take");
    ASSERT_EQ(0, chmod(folder.c_str(), 0555));
    ASSERT_EQ(0, chown(folder.c_str(), 65534, 65534));
}

TEST_F(BundleTest, RemovalsThatFailAreLoggedAndWhatFailedIsKept) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to give a folder to another user";
    struct Leftovers : MacService {
        using MacService::RemoveLeftoverBackups;
    };
    struct FailingService : MacService {
        int ExtractPackage() override {
            GiveAway(user_app_path.c_str() + std::string("/theirs"));
            return -1;
        }
    };
    ASSERT_TRUE(Client("new").write(Package()));
    GiveAway(App() + "_tmp/theirs");
    {
        OwnerOnly owner;
        EXPECT_EQ(0, MacService().PrepareUserEnv());
        Leftovers().RemoveLeftoverBackups();
        EXPECT_EQ(-1, FailingService().PrepareUserEnv()); // backs up to _tmp1, past the kept _tmp
    }
    EXPECT_TRUE(Logged("[WARNING] cloud-service(") && Logged("failed to remove backup '" + App() + "_tmp'\n"));
    EXPECT_TRUE(Logged("failed to remove leftover backup '" + App() + "_tmp'\n"));
    EXPECT_TRUE(Logged("failed to remove failed copy '" + App() + "'\n"));
    EXPECT_TRUE(Logged("failed to restore backup '" + App() + "_tmp1' -> '" + App() + "'\n"));
    EXPECT_EQ("not ours to take", readFile(App() + "_tmp/theirs/f"));
    EXPECT_EQ("new", readFile(App() + "_tmp1/Contents/Info.plist"));
}

// Unpacking cleanly is not enough: the backup goes only when a client that can run stands in its
// place. A first install keeps what it unpacked, as after any failed first unpack.
TEST_F(BundleTest, RollsBackACleanUnpackThatLeavesNoUsableClient) {
    const std::pair<std::string, ArchiveBuilder> packages[] = {
        {"no client", ArchiveBuilder().file("Contents/Resources/INFO", V("2"))},
        {"client not executable", Client("x").file("Contents/MacOS/cloud-ui", "data", 0644)},
        {"client a folder", ArchiveBuilder().dir("Contents/MacOS/cloud-ui").file("Contents/Resources/INFO", V("2"))},
        {"no build number", Client("x").file("Contents/Resources/INFO", "[Version]\nbuild_version=abc\n")},
        {"damaged INFO", Client("x").file("Contents/Resources/INFO", "[Version]\nbuild_version=@Variant()\n")}};
    for (const auto& [name, package] : packages) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(package.write(Package()));
        fs::remove_all(App());
        EXPECT_EQ(-1, MacService().PrepareUserEnv());
        EXPECT_TRUE(fs::exists(App() + "/Contents/Resources/INFO"));
        WriteOldInstall();
        const auto before = snapshot(App());
        EXPECT_EQ(-1, MacService().PrepareUserEnv());
        EXPECT_EQ(before, snapshot(App()));
        EXPECT_FALSE(exists(App() + "_tmp"));
    }
    EXPECT_TRUE(Logged("the new copy is not usable: '" + App() + "/Contents/MacOS/cloud-ui' is not an executable"));
    EXPECT_TRUE(Logged("the new copy is not usable: '" + App() + "/Contents/Resources/INFO' holds no build number\n"));
}

TEST_F(BundleTest, LeavesTheInstallationWhereItIsWhenNoBackupNameIsFree) {
    WriteOldInstall();
    const auto before = snapshot(App());
    for (const char* n : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9"})
        writeFile(App() + "_tmp" + n + "/stale", n);
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_EQ(before, snapshot(App()));
    EXPECT_TRUE(Logged("failed to backup app from '" + App() + "' -> '" + App() + "_tmp9' at max retries, exiting\n"));

    // A copy without a client to run keeps them through the upgrade too: one may be the only one.
    ASSERT_TRUE(Client("new").write(Package()));
    EXPECT_EQ(-1, MacService().HandlePackageUpgrade());
    EXPECT_EQ("9", readFile(App() + "_tmp9/stale"));
    // Once the copy in place can run they are redundant, and upgrades would otherwise stop for good.
    ASSERT_TRUE(Client("old").write(Package()));
    fs::remove_all(App());
    ASSERT_EQ(0, MacService().PrepareUserEnv()); // installs, and removes _tmp
    ASSERT_TRUE(Client("new").write(Package()));
    for (const char* n : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9"})
        writeFile(App() + "_tmp" + n + "/stale", n);
    EXPECT_EQ(0, MacService().HandlePackageUpgrade());
    EXPECT_EQ("new", readFile(App() + "/Contents/Info.plist"));
    for (const char* n : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9"})
        EXPECT_FALSE(exists(App() + "_tmp" + n)) << n;
}

// As an entry named "." once made of the new copy: the failed unpack leaves a link in its place.
TEST_F(BundleTest, RollbackRestoresTheOldCopyAndLeavesTheTargetOfACopyTurnedIntoALinkAlone) {
    struct LinkingService : MacService {
        int ExtractPackage() override {
            fs::create_directory_symlink(GetUserVelmoraDataInstallPath().c_str(), user_app_path.c_str());
            return -1;
        }
    };
    WriteOldInstall();
    const auto before = snapshot(App());
    writeFile(Home(".Velmora/data/keys/private"), "secret");
    fs::permissions(Home(".Velmora/data/keys/private"), fs::perms::owner_read | fs::perms::owner_write);
    const auto watched = snapshotWithModes(Home(".Velmora/data"));
    EXPECT_EQ(-1, LinkingService().PrepareUserEnv());
    EXPECT_TRUE(Logged("Failed to extract package, rollback to old installation\n"));
    EXPECT_EQ(watched, snapshotWithModes(Home(".Velmora/data")));
    EXPECT_EQ(before, snapshot(App())); // a link left there would list the folder it names
}

// A link is copied as the bytes of what it names.
TEST_F(BundleTest, CopiesAFolderTreeWithItsFilesAndSubFolders) {
    writeFile(Home("src/a"), "alpha");
    writeFile(Home("src/sub/b"), "beta");
    fs::create_directory(Home("src/empty"));
    fs::create_symlink("sub/b", Home("src/ln"));
    EXPECT_EQ(0, MacService().FSCopyPath(Home("src").c_str(), Home("dst").c_str()));
    EXPECT_EQ(snapshot(Home("dst")),
              (std::map<std::string, std::string>{
                  {"a", "alpha"}, {"empty", "/"}, {"ln", "beta"}, {"sub", "/"}, {"sub/b", "beta"}}));
    EXPECT_EQ(0, MacService().FSCopyPath(Home("src/a").c_str(), Home("one").c_str()));
    EXPECT_EQ("alpha", readFile(Home("one")));
}

TEST_F(BundleTest, CopyStopsAtTheFirstChildItCannotWriteAndSaysWhich) {
    writeFile(Home("src/a"), "alpha");
    writeFile(Home("dst/a/blocks"), "a folder where the file goes");
    EXPECT_EQ(-1, MacService().FSCopyPath(Home("src").c_str(), Home("dst").c_str()));
    EXPECT_TRUE(Logged("FSCopyPath: failed to copy from '" + Home("src/a") + "' to '" + Home("dst/a") + "'\n"));
    EXPECT_EQ(-1, MacService().FSCopyPath(Home("none").c_str(), Home("x").c_str()));
    EXPECT_TRUE(Logged("FSCopyPath: source path '" + Home("none") + "' does not exist\n"));
    EXPECT_FALSE(exists(Home("x")));
}

// A serialised list claiming more elements than memory holds, which Qt would throw on.
const std::string kImpossible = "[Version\n=@Variant(\\0\\0\\0\\xbr]\xb0)";
// A serialised pen, which Qt's own reader can crash on, spelt with each way of writing its '@'
// and its zero bytes: as they are, or as hexadecimal or octal escapes.
std::string Pen(const std::string& at, const std::string& zero) {
    return "[Version]\nbuild_version=" + at + "Variant(" + zero + zero + zero + "\xad\xadmalizer2Ex5)x5)\n";
}
// The per-user copy's INFO as written and the bundle's build_version; the per-user client exists.
struct DecisionCase {
    std::string name, user_info, bundle_build;
    bool upgrade, damaged;
    friend void PrintTo(const DecisionCase& c, std::ostream* os) { *os << c.name; }
};

struct DecisionTest : BundleTest, ::testing::WithParamInterface<DecisionCase> {};

TEST_P(DecisionTest, ReadsBuildNumbersLikeAtoiAndNeverDowngrades) {
    const DecisionCase& c = GetParam();
    writeFile(App() + "/Contents/Resources/INFO", c.user_info);
    writeFile(contents_ + "/Resources/INFO", V(c.bundle_build));
    writeFile(App() + "/Contents/MacOS/cloud-ui", "");
    MacService service;
    service.PreUpgrade();
    EXPECT_EQ(c.upgrade, service.IsNeedUpgrade());
    EXPECT_EQ(c.damaged, Logged("unreadable version file '" + App() + "/Contents/Resources/INFO'\n"));
}

const DecisionCase kDecisions[] = {
    {"TrailingTextAfterDigits", V("12abc"), "12", false, false},
    {"NoDigitsAgainstNoBuild", V("abc"), "", false, false},
    {"QuotedWithBlank", V("\" 42\""), "42", false, false},
    {"KeyOutsideTheSection", "build_version=99\n[Version]\nmajor_version=3\n", "50", true, false},
    {"OlderBundle", V("3487"), "3400", false, false},
    {"ImpossibleSerialisedListUnderAKeyNotRead", kImpossible, "1", true, false},
    {"AtInComments", "; by me@example.org\n[Version]\n# @Variant(x)\nbuild_version=7\n", "7", false, false},
    {"SerialisedPenInAnotherSection", "[Other]" + Pen("@", std::string(1, '\0')).substr(9) + V("7"), "7", false, false},
    {"SerialisedPenInAnotherKey", "[Version]\npen=@Variant(\\0\\0\\0\\xad)\n" + V("7").substr(10), "7", false, false},
    {"AtAfterTheBuildNumber", V("7 @x"), "7", false, false},
    {"SerialisedPen", Pen("@", std::string(1, '\0')), "1", true, true},
    {"SerialisedPenInHexEscapes", Pen("\\x40", "\\x0"), "1", true, true},
    {"SerialisedPenInOctalEscapes", Pen("\\100", "\\0"), "1", true, true},
};
INSTANTIATE_TEST_SUITE_P(Service, DecisionTest, ::testing::ValuesIn(kDecisions),
                         [](const auto& info) { return info.param.name; });

} // namespace
