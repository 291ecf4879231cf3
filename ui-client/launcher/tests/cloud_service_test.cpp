#include <QCoreApplication>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "archive_builder.h"
#include "file_tree.h"
#include "log.h"
#include "mac/mac-service.h"
#include "temp_dir.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

// This test is built inside a bundle of its own (two levels above the executable), whose
// Contents it fills for each case; CTest runs the cases one at a time.
class BundleTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::remove_all(contents_ + "/Resources");
        fs::create_directories(contents_ + "/Resources/package");
        writeFile(logs_ / "debug", "service_debug=7\n");
        Logger::Initialize(Logger::TYPE_FILE, (logs_ / "log").c_str(), (logs_ / "debug").c_str(), 50);
    }
    void TearDown() override {
        Logger::Destroy();
        fs::remove_all(contents_ + "/Resources");
    }
    bool Logged(const std::string& text) const { return readFile(logs_ / "log").find(text) != std::string::npos; }
    std::string App() const { return home_.path() + "/.Velmora/Velmora.app"; }
    bool WritePackage(const ArchiveBuilder& b) { return b.write(package_, ArchiveBuilder::Tar); }
    void WriteOldInstall() {
        writeFile(App() + "/Contents/Info.plist", "old");
        writeFile(App() + "/Contents/Resources/only-old.txt", "user's copy");
    }
    int argc_ = 1;
    char* argv_[1] = {const_cast<char*>("cloud_service_test")};
    QCoreApplication app_{argc_, argv_};
    const std::string contents_ = fs::read_symlink("/proc/self/exe").parent_path().parent_path().string();
    ScratchHome home_;
    TempDir logs_;
    const std::string package_ = contents_ + "/Resources/package/velmora.hpk";
};

TEST_F(BundleTest, FailsWithoutAPackageAndKeepsWhatTheUnpackLeft) {
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_TRUE(Logged("Failed to extract package, and no old installation to rollback\n"));
    EXPECT_TRUE(fs::is_directory(App()));
}

TEST_F(BundleTest, InstallsIntoAnEmptyHomeAndRemovesAKilledRunsBackup) {
    writeFile(App() + "_tmp/stale", "left by a killed run");
    ASSERT_TRUE(WritePackage(ArchiveBuilder().dir("Contents").file("Contents/Info.plist", "new")));
    EXPECT_EQ(0, MacService().PrepareUserEnv());
    EXPECT_EQ("new", readFile(App() + "/Contents/Info.plist"));
    EXPECT_FALSE(exists(App() + "_tmp"));
}

TEST_F(BundleTest, ReplacesAnInstallationPastABlockedBackupNameAndRemovesBothBackups) {
    WriteOldInstall();
    writeFile(App() + "_tmp/stale", "blocks the first backup name");
    ASSERT_TRUE(WritePackage(ArchiveBuilder().dir("Contents").file("Contents/Info.plist", "new")));
    EXPECT_EQ(0, MacService().PrepareUserEnv());
    EXPECT_EQ("new", readFile(App() + "/Contents/Info.plist"));
    EXPECT_FALSE(exists(App() + "/Contents/Resources/only-old.txt"));
    EXPECT_FALSE(exists(App() + "_tmp"));
    EXPECT_FALSE(exists(App() + "_tmp1"));
}

TEST_F(BundleTest, LeavesTheInstallationWhereItIsWhenNoBackupNameIsFree) {
    WriteOldInstall();
    const auto before = snapshot(App());
    for (const char* n : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9"})
        writeFile(App() + "_tmp" + n + "/stale", n);
    ASSERT_TRUE(WritePackage(ArchiveBuilder().file("Contents/Info.plist", "new")));
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_EQ(before, snapshot(App()));
    EXPECT_TRUE(Logged("failed to backup app from '" + App() + "' -> '" + App() + "_tmp9' at max retries, exiting\n"));
}

TEST_F(BundleTest, RollsBackByteForByteWhenThePackageIsTruncated) {
    WriteOldInstall();
    const auto before = snapshot(App());
    ASSERT_TRUE(
        WritePackage(ArchiveBuilder().file("Contents/Info.plist", "new").file("big", std::string(200000, 'x'))));
    ASSERT_EQ(0, truncate(package_.c_str(), 100000));
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_EQ(before, snapshot(App()));
    EXPECT_FALSE(exists(App() + "_tmp"));
    EXPECT_TRUE(Logged("Failed to extract package, rollback to old installation\n"));
}

// An unpack that fails after the new copy has become a link to a folder beside it (what an
// entry named "." once made of it): the rollback removes the link, never what it points to.
TEST_F(BundleTest, RollbackOverACopyTurnedIntoALinkLeavesItsTargetAlone) {
    struct LinkingService : MacService {
        int ExtractPackage() override {
            const int rc = MacService::ExtractPackage();
            fs::remove_all(App());
            fs::create_directory_symlink(sibling, App());
            return rc;
        }
        std::string App() const { return user_app_path.c_str(); }
        std::string sibling;
    };
    WriteOldInstall();
    const auto before = snapshot(App());
    const std::string sibling = home_.path() + "/.Velmora/data";
    writeFile(sibling + "/settings", "user's own");
    writeFile(sibling + "/keys/private", "secret");
    fs::permissions(sibling + "/keys/private", fs::perms::owner_read | fs::perms::owner_write);
    const auto watched = snapshotWithModes(sibling);
    ASSERT_TRUE(WritePackage(ArchiveBuilder().file("Contents/Info.plist", "new").file("", "nameless")));
    LinkingService service;
    service.sibling = sibling;
    EXPECT_EQ(-1, service.PrepareUserEnv());
    EXPECT_TRUE(Logged("Entry has an empty name: ''\n"));
    EXPECT_TRUE(Logged("Failed to extract package, rollback to old installation\n"));
    EXPECT_EQ(watched, snapshotWithModes(sibling));
    EXPECT_FALSE(fs::is_symlink(App()));
    EXPECT_EQ(before, snapshot(App()));
}

// The recursive copy the service offers: folders are made, files copied by their bytes, and a
// link by the bytes of what it names (only bytes are copied).
TEST_F(BundleTest, CopiesAFolderTreeWithItsFilesAndSubFolders) {
    writeFile(home_.path() + "/src/a", "alpha");
    writeFile(home_.path() + "/src/sub/b", "beta");
    fs::create_directory(home_.path() + "/src/empty");
    fs::create_symlink("sub/b", home_.path() + "/src/ln");
    EXPECT_EQ(0, MacService().FSCopyPath((home_.path() + "/src").c_str(), (home_.path() + "/dst").c_str()));
    EXPECT_EQ(snapshot(home_.path() + "/dst"),
              (std::map<std::string, std::string>{
                  {"a", "alpha"}, {"empty", "/"}, {"ln", "beta"}, {"sub", "/"}, {"sub/b", "beta"}}));
    EXPECT_EQ(0, MacService().FSCopyPath((home_.path() + "/src/a").c_str(), (home_.path() + "/one").c_str()));
    EXPECT_EQ("alpha", readFile(home_.path() + "/one"));
}

TEST_F(BundleTest, CopyStopsAtTheFirstChildItCannotWriteAndSaysWhich) {
    writeFile(home_.path() + "/src/a", "alpha");
    writeFile(home_.path() + "/dst/a/blocks", "a folder where the file goes");
    EXPECT_EQ(-1, MacService().FSCopyPath((home_.path() + "/src").c_str(), (home_.path() + "/dst").c_str()));
    EXPECT_TRUE(
        Logged("FSCopyPath: failed to copy from '" + home_.path() + "/src/a' to '" + home_.path() + "/dst/a'\n"));
    EXPECT_EQ(-1, MacService().FSCopyPath((home_.path() + "/none").c_str(), (home_.path() + "/x").c_str()));
    EXPECT_TRUE(Logged("FSCopyPath: source path '" + home_.path() + "/none' does not exist\n"));
    EXPECT_FALSE(exists(home_.path() + "/x"));
}

// The decision between the per-user copy's INFO and the bundle's.
struct DecisionCase {
    std::string name;
    std::string user_info;    // the per-user copy's INFO as written
    std::string bundle_build; // the bundle's build_version
    bool client;              // whether the per-user executable exists
    bool upgrade;
};
void PrintTo(const DecisionCase& c, std::ostream* os) {
    *os << c.name;
}

struct DecisionTest : BundleTest, ::testing::WithParamInterface<DecisionCase> {};

TEST_P(DecisionTest, ReadsBuildNumbersLikeAtoiAndNeverDowngrades) {
    const DecisionCase& c = GetParam();
    writeFile(App() + "/Contents/Resources/INFO", c.user_info);
    writeFile(contents_ + "/Resources/INFO", "[Version]\nbuild_version=" + c.bundle_build + "\n");
    if (c.client)
        writeFile(App() + "/Contents/MacOS/cloud-ui", "");
    MacService service;
    service.PreUpgrade();
    EXPECT_EQ(c.upgrade, service.IsNeedUpgrade());
}

std::string DecisionName(const ::testing::TestParamInfo<DecisionCase>& info) {
    return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(
    Service, DecisionTest,
    ::testing::Values(
        DecisionCase{"TrailingTextAfterDigits", "[Version]\nbuild_version=12abc\n", "12", true, false},
        DecisionCase{"NoDigitsAgainstNoBuild", "[Version]\nbuild_version=abc\n", "", true, false},
        DecisionCase{"QuotedWithBlank", "[Version]\nbuild_version=\" 42\"\n", "42", true, false},
        DecisionCase{"KeyOutsideTheSection", "build_version=99\n[Version]\nmajor_version=3\n", "50", true, true},
        DecisionCase{"OlderBundle", "[Version]\nbuild_version=3487\n", "3400", true, false},
        DecisionCase{"SameBuildWithoutClient", "[Version]\nbuild_version=3487\n", "3487", false, true},
        DecisionCase{"NewerBundle", "[Version]\nbuild_version=3487\n", "3488", true, true},
        // A serialised list claiming more elements than memory holds: Qt throws while loading.
        DecisionCase{"ImpossibleSerialisedList", "[Version\n=@Variant(\\0\\0\\0\\xbr]\xb0)", "1", true, true}),
    DecisionName);

TEST_F(BundleTest, LogsTheNumbersItComparesAndAnUnreadableVersionFile) {
    writeFile(App() + "/Contents/Resources/INFO", "[Version\n=@Variant(\\0\\0\\0\\xbr]\xb0)");
    writeFile(contents_ + "/Resources/INFO", "[Version]\nbuild_version=\" 42\"\n");
    MacService service;
    service.PreUpgrade();
    service.IsNeedUpgrade();
    EXPECT_TRUE(Logged("source version = 0, target version = 42\n"));
    EXPECT_TRUE(Logged("unreadable version file '" + App() + "/Contents/Resources/INFO'\n"));
}

} // namespace
