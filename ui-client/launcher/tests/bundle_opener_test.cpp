#include <QDesktopServices>
#include <QUrl>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

#include "eventually.h"
#include "file_tree.h"
#include "log_capture.h"
#include "platform/bundle_opener.h"
#include "temp_dir.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

class BundleOpenerTest : public ::testing::Test {
protected:
    std::string Log() const { return log_.Text(); }
    bool Logged(const std::string& text) const { return log_.Logged(text); }
    static bool Open(const std::string& path) { return bundleopener::OpenUrl(QUrl::fromLocalFile(path.c_str())); }

    TempDir tmp_;
    LogCapture log_{tmp_ / "log", "service_debug=7\n"};
    const std::string bundle_ = tmp_ / "apps/Velmora.app", exe_ = bundle_ + "/Contents/MacOS/cloud-ui";
};

// Started like a desktop application: in a session of its own, detached from the launcher's
// streams, descriptors (42 here), folder and ignored signals, with its environment.
TEST_F(BundleOpenerTest, StartsBundleClientDetachedInItsOwnSessionThroughOpenUrlOnAnyThread) {
    writeFile(exe_, "#!/bin/sh\necho pid=$$ sid=$(cut -d' ' -f6 /proc/$$/stat) $(readlink /proc/$$/fd/[0-2]) "
                    "fd42=$(ls /proc/$$/fd/42 2>/dev/null) cwd=$(pwd) "
                    "sigterm-ignored=$((0x$(grep SigIgn /proc/$$/status | cut -f2) >> 14 & 1)) >\"$PROBE\"\n");
    fs::permissions(exe_, fs::perms::owner_all);
    setenv("PROBE", (tmp_ / "probe").c_str(), 1);
    const int leaked = dup2(open("/dev/null", O_RDONLY), 42);
    const auto term = signal(SIGTERM, SIG_IGN);
    bundleopener::InstallBundleOpener();
    // The service opens the client from its worker thread.
    std::thread([&] { EXPECT_TRUE(QDesktopServices::openUrl(QUrl::fromLocalFile(bundle_.c_str()))); }).join();
    signal(SIGTERM, term);
    close(leaked);
    ASSERT_TRUE(Eventually([&] { return !readFile(tmp_ / "probe").empty(); })) << Log();
    const std::string seen = readFile(tmp_ / "probe"), pid = seen.substr(4, seen.find(' ') - 4);
    EXPECT_EQ(seen, "pid=" + pid + " sid=" + pid + " /dev/null /dev/null /dev/null fd42= cwd=/ sigterm-ignored=0\n");
    EXPECT_TRUE(Logged("): started '" + exe_ + "' (pid " + pid + ")\n")) << Log();
}

struct BadBundleRow {
    const char* name;
    const char* made; // the one file in the bundle
    const char* error;
};

class BadBundle : public BundleOpenerTest, public ::testing::WithParamInterface<BadBundleRow> {};

// Reported and left as it is, never shown as a folder instead; the trailing "/" still names the bundle.
TEST_P(BadBundle, IsLoggedAndKept) {
    writeFile(bundle_ + GetParam().made, "#!/bin/sh\n");
    const auto before = snapshot(tmp_ / "apps");
    EXPECT_FALSE(Open(bundle_ + "/"));
    EXPECT_TRUE(Logged("'" + exe_ + GetParam().error + "\n")) << Log();
    EXPECT_EQ(before, snapshot(tmp_ / "apps"));
    EXPECT_FALSE(Logged("xdg-open")) << Log();
}

const BadBundleRow kBadBundles[] = {{"NoExecutable", "/Contents/Info.plist", "': No such file or directory (2)"},
                                    {"NotExecutable", "/Contents/MacOS/cloud-ui", "': Permission denied (13)"},
                                    {"ExecutableIsAFolder", "/Contents/MacOS/cloud-ui/run", "' is not a file"}};
INSTANTIATE_TEST_SUITE_P(Bundles, BadBundle, ::testing::ValuesIn(kBadBundles),
                         [](const auto& info) { return std::string(info.param.name); });

// Anything else goes to the desktop's xdg-open unchanged (its encoding too); one missing from PATH is an error.
TEST_F(BundleOpenerTest, HandsOtherUrlsToXdgOpenAndLogsWhenItIsMissing) {
    writeFile(tmp_ / "desktop/xdg-open", "#!/bin/sh\nprintf '%s\\n' \"$@\" >>" + tmp_.path() + "/opened\n");
    fs::permissions(tmp_ / "desktop/xdg-open", fs::perms::owner_all);
    fs::create_directories(tmp_ / "a folder");
    const std::string path = getenv("PATH"), folder = "file://" + tmp_.path() + "/a%20folder";
    setenv("PATH", (tmp_ / "desktop").c_str(), 1);
    EXPECT_TRUE(Open(tmp_ / "a folder"));
    EXPECT_TRUE(Eventually([&] { return readFile(tmp_ / "opened") == folder + "\n"; }));
    setenv("PATH", tmp_.path().c_str(), 1);
    EXPECT_FALSE(Open(tmp_ / "a folder"));
    setenv("PATH", path.c_str(), 1);
    EXPECT_TRUE(Logged("): '" + folder + "' is not an application bundle, handing it to xdg-open\n")) << Log();
    EXPECT_TRUE(Logged("): Cannot start xdg-open for '" + folder + "': No such file or directory (2)\n")) << Log();
}

} // namespace
