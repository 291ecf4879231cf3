#include <QCoreApplication>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "archive_builder.h"
#include "file_tree.h"
#include "log.h"
#include "mac/mac-service.h"
#include "temp_dir.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

// The bundle root (two levels above this executable) gets a Contents link to a scratch folder, one test at a time.
class BundleTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, flock(lock_, LOCK_EX));
        fs::remove(root_ + "/Contents"); // a link left by a crashed run; never a non-empty folder
        fs::create_directory_symlink(contents_.path(), root_ + "/Contents");
        fs::create_directories(contents_ / "Resources/package");
        writeFile(logs_ / "debug", "service_debug=7\n");
        Logger::Initialize(Logger::TYPE_FILE, (logs_ / "log").c_str(), (logs_ / "debug").c_str(), 50);
    }
    void TearDown() override {
        Logger::Destroy();
        fs::remove(root_ + "/Contents");
        close(lock_);
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
    const std::string root_ = fs::read_symlink("/proc/self/exe").parent_path().parent_path().parent_path();
    const int lock_ = open(root_.c_str(), O_RDONLY | O_DIRECTORY);
    ScratchHome home_;
    TempDir contents_, logs_;
    const std::string package_ = contents_ / "Resources/package/velmora.hpk";
};

TEST_F(BundleTest, InstallsFreshThenReplacesInstallationPastBlockedBackupNameRemovingAllBackups) {
    EXPECT_EQ(-1, MacService().PrepareUserEnv()); // no package yet
    EXPECT_TRUE(Logged("Failed to extract package, and no old installation to rollback\n"));
    writeFile(App() + "_tmp/stale", "left by a killed run");
    ASSERT_TRUE(WritePackage(ArchiveBuilder().dir("Contents").file("Contents/Info.plist", "new")));
    EXPECT_EQ(0, MacService().PrepareUserEnv());
    EXPECT_FALSE(exists(App() + "_tmp"));
    WriteOldInstall();
    writeFile(App() + "_tmp/stale", "blocks the first backup name");
    EXPECT_EQ(0, MacService().PrepareUserEnv());
    EXPECT_EQ("new", readFile(App() + "/Contents/Info.plist"));
    EXPECT_FALSE(exists(App() + "/Contents/Resources/only-old.txt"));
    EXPECT_FALSE(exists(App() + "_tmp") || exists(App() + "_tmp1"));
}

TEST_F(BundleTest, KeepsInstallationByteForByteWhenNoBackupNameIsFreeOrPackageIsTruncated) {
    WriteOldInstall();
    const auto before = snapshot(App());
    for (const char* n : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9"})
        writeFile(App() + "_tmp" + n + "/stale", n);
    ASSERT_TRUE(
        WritePackage(ArchiveBuilder().file("Contents/Info.plist", "new").file("big", std::string(200000, 'x'))));
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_EQ(before, snapshot(App()));
    EXPECT_TRUE(Logged("failed to backup app from '" + App() + "' -> '" + App() + "_tmp9' at max retries, exiting\n"));
    fs::remove_all(App() + "_tmp");
    ASSERT_EQ(0, truncate(package_.c_str(), 100000));
    EXPECT_EQ(-1, MacService().PrepareUserEnv());
    EXPECT_EQ(before, snapshot(App()));
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

TEST_F(BundleTest, ReadsBuildNumbersLikeAtoiAndNeverDowngrades) {
    const std::tuple<std::string, std::string, bool, bool> cases[] = {
        {"[Version]\nbuild_version=12abc\n", "12", true, false},
        {"[Version]\nbuild_version=abc\n", "", true, false},
        {"[Version]\nbuild_version=\" 42\"\n", "42", true, false},
        {"build_version=99\n[Version]\nmajor_version=3\n", "50", true, true},
        {"[Version]\nbuild_version=3487\n", "3400", true, false},
        {"[Version]\nbuild_version=3487\n", "3487", false, true},
        // A serialised list claiming more elements than memory holds: Qt throws while loading.
        {"[Version\n=@Variant(\\0\\0\\0\\xbr]\xb0)", "1", true, true},
    };
    for (const auto& [info, target, client, upgrade] : cases) {
        writeFile(App() + "/Contents/Resources/INFO", info);
        writeFile(contents_ / "Resources/INFO", "[Version]\nbuild_version=" + target + "\n");
        client ? writeFile(App() + "/Contents/MacOS/cloud-ui", "") : fs::remove(App() + "/Contents/MacOS/cloud-ui");
        MacService service;
        service.PreUpgrade();
        EXPECT_EQ(upgrade, service.IsNeedUpgrade()) << info << "bundle build " << target;
    }
    EXPECT_TRUE(Logged("source version = 42, target version = 42\n"));
    EXPECT_TRUE(Logged("unreadable version file '" + App() + "/Contents/Resources/INFO'\n"));
}

} // namespace
