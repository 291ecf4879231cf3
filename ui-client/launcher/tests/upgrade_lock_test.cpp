#include <chrono>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

#include "log_capture.h"
#include "temp_dir.h"
#include "upgrade_lock.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

class UpgradeLockTest : public ::testing::Test {
protected:
    bool Logged(const std::string& text) const { return log_.Logged(text); }
    TempDir home_, logs_;
    LogCapture log_{logs_ / "log", "launcher_debug=7\n"};
    const std::string velmora_ = home_ / ".Velmora";
};

// Each lock opens the file anew, so two in one process exclude each other as two launchers do.
TEST_F(UpgradeLockTest, SecondLauncherWaitsUntilTheFirstIsDone) {
    auto first = std::make_unique<UpgradeLock>(velmora_.c_str());
    ASSERT_TRUE(first->Held());
    auto second = std::async(std::launch::async, [&] { return UpgradeLock(velmora_.c_str()).Held(); });
    // A guard against a hang, not a speed target.
    const std::string waiting = "another launcher is upgrading, waiting for '" + velmora_ + "/.upgrade.lock'";
    for (int i = 0; i < 2000 && !Logged(waiting); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(std::future_status::timeout, second.wait_for(std::chrono::seconds(0)));
    first.reset();
    EXPECT_TRUE(second.get());
}

// Never blocked for good, nor led elsewhere: a FIFO or a link at the lock's name.
TEST_F(UpgradeLockTest, GoesOnWithoutTheLockWhereNoneCanBeTaken) {
    const std::string lock = velmora_ + "/.upgrade.lock";
    fs::create_directories(velmora_);
    ASSERT_EQ(0, mkfifo(lock.c_str(), 0600));
    EXPECT_FALSE(UpgradeLock(velmora_.c_str()).Held());
    EXPECT_TRUE(Logged("cannot lock '" + lock + "' (not a regular file), going on without the lock"));
    fs::remove(lock);
    fs::create_symlink(home_ / "elsewhere", lock);
    EXPECT_FALSE(UpgradeLock(velmora_.c_str()).Held());
    EXPECT_FALSE(fs::exists(home_ / "elsewhere"));
}

} // namespace
