#include <QDesktopServices>
#include <QUrl>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <thread>
#include <unistd.h>

#include "file_tree.h"
#include "log.h"
#include "platform/bundle_opener.h"
#include "temp_dir.h"

using namespace testsupport;
namespace fs = std::filesystem;

namespace {

bool Eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 100 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return condition();
}

class BundleOpenerTest : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(tmp_ / "debug", "service_debug=7\n");
        Logger::Initialize(Logger::TYPE_FILE, (tmp_ / "log").c_str(), (tmp_ / "debug").c_str(), 50);
    }
    void TearDown() override { Logger::Destroy(); }

    // A bundle whose client records how it was started, into the file its environment names.
    std::string MakeBundle(const std::string& name, const std::string& client, fs::perms mode) {
        const std::string bundle = tmp_ / "apps/" + name, exe = bundle + "/Contents/MacOS/cloud-ui";
        writeFile(exe, client);
        fs::permissions(exe, mode);
        return bundle;
    }
    std::string Log() const { return readFile(tmp_ / "log"); }
    bool Logged(const std::string& text) const { return Log().find(text) != std::string::npos; }
    static bool Open(const std::string& path) { return bundleopener::OpenUrl(QUrl::fromLocalFile(path.c_str())); }

    TempDir tmp_;
    const std::string probe_ = tmp_ / "probe";
    const fs::perms exec_ = fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec;
};

const char* const kProbeClient = R"sh(#!/bin/sh
streams="stdin=$(readlink /proc/$$/fd/0) stdout=$(readlink /proc/$$/fd/1) stderr=$(readlink /proc/$$/fd/2)"
{
    echo "pid=$$"
    echo "sid=$(cut -d' ' -f6 /proc/$$/stat)"
    echo "$streams"
    echo "fd42=$([ -e /proc/$$/fd/42 ] && echo inherited || echo closed)"
    echo "cwd=$(pwd)"
    grep SigIgn /proc/$$/status
} >"$VELMORA_OPENER_PROBE.tmp"
mv "$VELMORA_OPENER_PROBE.tmp" "$VELMORA_OPENER_PROBE"
)sh";

// Started like a desktop application: in a session of its own, detached from the launcher's
// streams, descriptors, folder and ignored signals, with its environment.
TEST_F(BundleOpenerTest, StartsBundleClientDetachedInItsOwnSessionThroughOpenUrlOnAnyThread) {
    const std::string bundle = MakeBundle("Velmora.app", kProbeClient, exec_);
    setenv("VELMORA_OPENER_PROBE", probe_.c_str(), 1);
    const int leaked = dup2(open("/dev/null", O_RDONLY), 42);
    const auto term = signal(SIGTERM, SIG_IGN);
    bundleopener::InstallBundleOpener();
    // The service opens the client from its worker thread.
    std::thread([&] { EXPECT_TRUE(QDesktopServices::openUrl(QUrl::fromLocalFile(bundle.c_str()))); }).join();
    signal(SIGTERM, term);
    close(leaked);
    ASSERT_TRUE(Eventually([&] { return fs::exists(probe_); })) << Log();

    std::map<std::string, std::string> seen;
    std::istringstream in(readFile(probe_));
    for (std::string key, value; std::getline(in >> std::ws, key, '=') && std::getline(in, value);)
        seen[key] = value;
    EXPECT_EQ(seen["pid"], seen["sid"]) << "not a session of its own";
    EXPECT_EQ("/dev/null stdout=/dev/null stderr=/dev/null", seen["stdin"]);
    EXPECT_EQ("closed", seen["fd42"]);
    EXPECT_EQ("/", seen["cwd"]);
    std::istringstream ignored(readFile(probe_).substr(readFile(probe_).find("SigIgn:") + 7));
    unsigned long long mask = 0;
    ignored >> std::hex >> mask;
    EXPECT_EQ(0u, mask & (1ull << (SIGTERM - 1))) << "SIGTERM still ignored: the client could not be stopped";
    EXPECT_TRUE(Logged("[DEBUG] platform/bundle_opener_linux(")) << Log();
    EXPECT_TRUE(Logged("): started '" + bundle + "/Contents/MacOS/cloud-ui' (pid " + seen["pid"] + ")\n")) << Log();
}

// Never a folder shown instead.
TEST_F(BundleOpenerTest, BundleThatCannotStartIsLoggedAndKept) {
    const std::string missing = tmp_ / "Missing.app", exe = "/Contents/MacOS/cloud-ui";
    const std::string locked = MakeBundle("Locked.app", kProbeClient, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_directories(tmp_ / "apps/Folder.app" + exe);
    const auto before = snapshot(tmp_ / "apps");
    EXPECT_FALSE(Open(missing));
    EXPECT_TRUE(Logged("[ERROR] platform/bundle_opener_linux(")) << Log();
    EXPECT_TRUE(Logged("'" + missing + exe + "': No such file or directory (2)\n")) << Log();
    EXPECT_FALSE(Open(locked));
    EXPECT_TRUE(Logged("'" + locked + exe + "': Permission denied (13)\n")) << Log();
    EXPECT_FALSE(Open(tmp_ / "apps/Folder.app/"));
    EXPECT_TRUE(Logged("Folder.app" + exe + "' is not a file\n")) << Log();
    EXPECT_EQ(before, snapshot(tmp_ / "apps"));
    EXPECT_FALSE(Logged("xdg-open")) << "a bundle went to the desktop:\n" << Log();
}

// Anything else goes to the desktop's xdg-open unchanged; one missing from PATH is an error.
TEST_F(BundleOpenerTest, HandsOtherUrlsToXdgOpenAndLogsWhenItIsMissing) {
    const std::string desktop = tmp_ / "desktop";
    writeFile(desktop + "/xdg-open", "#!/bin/sh\nprintf '%s\\n' \"$@\" >>" + tmp_.path() + "/opened\n");
    fs::permissions(desktop + "/xdg-open", exec_);
    writeFile(tmp_ / "a folder/notes.txt", "not a bundle");
    const std::string path = getenv("PATH");
    setenv("PATH", desktop.c_str(), 1);
    EXPECT_TRUE(Open(tmp_ / "a folder/notes.txt"));
    EXPECT_TRUE(Open(tmp_ / "a folder"));
    EXPECT_TRUE(bundleopener::OpenUrl(QUrl("https://example.org/a?b=c%20d")));
    setenv("PATH", tmp_.path().c_str(), 1);
    EXPECT_FALSE(Open(tmp_ / "a folder/notes.txt"));
    setenv("PATH", path.c_str(), 1);

    // Each xdg-open runs on its own, so their records may land in any order.
    const std::string folder = "file://" + tmp_.path() + "/a%20folder";
    std::multiset<std::string> opened;
    EXPECT_TRUE(Eventually([&] {
        std::istringstream in(readFile(tmp_ / "opened"));
        opened.clear();
        for (std::string line; std::getline(in, line);)
            opened.insert(line);
        return opened.size() >= 3;
    }));
    EXPECT_EQ((std::multiset<std::string>{folder + "/notes.txt", folder, "https://example.org/a?b=c%20d"}), opened);
    EXPECT_TRUE(Logged("[WARNING] platform/bundle_opener_linux(")) << Log();
    EXPECT_TRUE(Logged("): '" + folder + "' is not an application bundle, handing it to xdg-open\n")) << Log();
    EXPECT_TRUE(Logged("): Cannot start xdg-open for '" + folder + "/notes.txt': No such file or directory (2)\n"))
        << Log();
}

} // namespace
