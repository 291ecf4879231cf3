// The upgrade decision over what a killed run leaves behind: a cut INFO in the new copy, and
// backup folders beside a copy that is already complete.

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "file_tree.h"
#include "mac/mac-service.h"
#include "temp_dir.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

// The per-user copy in a scratch home, read at construction, against a bundle whose versions the
// test sets.
class Copy : public MacService {
public:
    Copy() { LoadSourceVersion(); }
    void BundleLike(const Copy& other) {
        target_major_version = other.source_major_version;
        target_minor_version = other.source_minor_version;
        target_build_version = other.source_build_version;
        target_icon_overlay_version = other.source_icon_overlay_version;
    }
    void BundleBuild(const char* build) { target_build_version = build; }
    bool ReadsLikeBundle() const {
        return source_major_version == target_major_version && source_minor_version == target_minor_version &&
               source_build_version == target_build_version &&
               source_icon_overlay_version == target_icon_overlay_version;
    }
};

class Decision : public ::testing::Test {
protected:
    ScratchHome home_;
    const std::string app_ = home_.path() + "/.Velmora/Velmora.app";
    const std::string info_ = app_ + "/Contents/Resources/INFO";
};

// An unpack killed while it writes INFO, the package's last file, leaves a prefix of it. Only the
// build number decides, so it has to come last in INFO: then every cut either reads a smaller
// number or reads like the whole file.
TEST_F(Decision, NoCutOfShippedInfoLooksCurrentUnlessItReadsAsTheWholeFile) {
    const std::string info = readFile(VELMORA_BUNDLE_INFO);
    ASSERT_TRUE(writeFile(app_ + "/Contents/MacOS/cloud-ui", "") && writeFile(info_, info));
    Copy whole;
    whole.BundleLike(whole);
    ASSERT_FALSE(whole.IsNeedUpgrade()) << "the complete copy must look current:\n" << info;
    std::string looks_current;
    for (size_t n = 0; n < info.size(); ++n) {
        writeFile(info_, info.substr(0, n));
        Copy cut;
        cut.BundleLike(whole);
        if (!cut.IsNeedUpgrade() && !cut.ReadsLikeBundle())
            looks_current += " " + std::to_string(n);
    }
    EXPECT_EQ("", looks_current) << "INFO cut after these numbers of bytes looks current but reads differently "
                                    "(build_version has to be its last line):\n"
                                 << info;
}

// A run killed while removing its backups leaves them beside the new copy. They may go once the
// copy needs no upgrade, never while one is pending: then a backup may be the only full copy.
TEST_F(Decision, LeftoverBackupsGoOnlyWhenCopyNeedsNoUpgrade) {
    writeFile(info_, "[Version]\nbuild_version=200\n");
    for (const char* n : {"", "3", "9"})
        writeFile(app_ + "_tmp" + n + "/Contents/Resources/INFO", "[Version]\nbuild_version=100\n");
    const auto backups_left = [&] { return exists(app_ + "_tmp") + exists(app_ + "_tmp3") + exists(app_ + "_tmp9"); };
    Copy copy;
    copy.BundleBuild("200");
    EXPECT_TRUE(copy.IsNeedUpgrade()); // no client executable
    EXPECT_EQ(3, backups_left());
    writeFile(app_ + "/Contents/MacOS/cloud-ui", "");
    copy.BundleBuild("201");
    EXPECT_TRUE(copy.IsNeedUpgrade());
    EXPECT_EQ(3, backups_left());
    copy.BundleBuild("200");
    EXPECT_FALSE(copy.IsNeedUpgrade());
    EXPECT_EQ(0, backups_left());
    EXPECT_EQ("[Version]\nbuild_version=200\n", readFile(info_));
}

// Anything at the INFO's name but a regular file is damage (or a trap): a FIFO nobody writes,
// a device without end, a folder. It must read as a file without keys at once, never hang the
// launcher, whose single-instance lock would then keep every later start out too.
TEST_F(Decision, InfoThatIsNoRegularFileReadsAsDamagedWithoutBlocking) {
    writeFile(app_ + "/Contents/MacOS/cloud-ui", "");
    fs::create_directories(fs::path(info_).parent_path());
    const std::function<void()> make[] = {[&] { ASSERT_EQ(0, mkfifo(info_.c_str(), 0600)); },
                                          [&] { fs::create_symlink("/dev/zero", info_); },
                                          [&] { fs::create_directory(info_); }};
    for (const auto& plant : make) {
        fs::remove_all(info_);
        plant();
        SCOPED_TRACE(fs::status(info_).type() == fs::file_type::fifo ? "fifo" : info_);
        auto need = std::async(std::launch::async, [] {
            Copy copy;
            copy.BundleBuild("1");
            return copy.IsNeedUpgrade();
        });
        // A guard against a hang, not a speed target; a writer lets a blocked reader go.
        if (need.wait_for(std::chrono::seconds(20)) != std::future_status::ready)
            close(open(info_.c_str(), O_WRONLY | O_NONBLOCK));
        EXPECT_EQ(std::future_status::ready, need.wait_for(std::chrono::seconds(0)));
        EXPECT_TRUE(need.get());
    }
}

} // namespace
