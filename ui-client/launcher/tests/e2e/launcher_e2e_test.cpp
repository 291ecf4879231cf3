// The real launcher executable, run from a copy of the assembled bundle with the sample client.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

#include "file_tree.h"
#include "launcher_scene.h"

namespace fs = std::filesystem;
using namespace e2e;
using testsupport::readFile;
using testsupport::snapshot;

namespace {

class LauncherE2E : public ::testing::Test {
protected:
    void SetUp() override {
        if (!getenv("DISPLAY"))
            GTEST_SKIP() << "needs an X server: run it under xvfb-run";
        scene_ = std::make_unique<Scene>();
        const std::string info = readFile(scene_->Info());
        build_ = std::stoi(info.substr(info.find("build_version=") + 14));
    }

    // One launcher run on a fresh log: what every run must do, and the lines it logs in this
    // order (source line numbers shown as N).
    void Run(std::initializer_list<std::string> lines, bool opens_client = true) {
        const Scene::Exit exit = scene_->Run();
        EXPECT_TRUE(exit.clean) << exit.output;
        EXPECT_EQ(exit.output.substr(0, exit.output.find('\n')),
                  "lib path = '" + scene_->Dir() + "/Velmora.app/Contents/Frameworks/plugins'");
        const std::string log = scene_->TakeLog();
        const std::string started =
            "[DEBUG] platform/bundle_opener_linux(N): started '" + scene_->App() + "/Contents/MacOS/cloud-ui' (pid ";
        EXPECT_EQ(opens_client, log.find(started) != std::string::npos) << log;
        size_t at = 0;
        for (const std::string& l : lines)
            EXPECT_NE(at = log.find(l + "\n", at), std::string::npos) << l << " missing or misplaced in\n" << log;
    }

    // The bundle as a later release: the sample client repacked with another build number. A
    // broken package is cut off half-way.
    std::string MakeRelease(int build, bool broken = false) {
        const std::string stage = scene_->Dir() + "/release";
        fs::remove_all(stage);
        fs::copy(VELMORA_CLIENT, stage, fs::copy_options::recursive);
        testsupport::writeFile(stage + "/Contents/Resources/INFO",
                               "[Version]\nbuild_version=" + std::to_string(build) + "\n");
        scene_->Release(stage);
        if (broken)
            fs::resize_file(scene_->Package(), fs::file_size(scene_->Package()) / 2);
        return stage;
    }

    std::unique_ptr<Scene> scene_;
    int build_ = 0;
};

TEST_F(LauncherE2E, InstallsOnceUpgradesToNewerBuildAndRollsBackBrokenPackage) {
    // The two files the upgrade decision reads come last, so a cut-off unpack never looks done.
    const pid_t tar = scene_->Start({"/usr/bin/bsdtar", "-tf", scene_->Package()});
    const std::string listing = scene_->Wait(tar).output;
    const std::string last = "\nContents/MacOS/cloud-ui\nContents/Resources/INFO\n";
    EXPECT_EQ(listing.substr(listing.size() - std::min(listing.size(), last.size())), last);

    Run({"[DEBUG] launcher(N): running", "[INFO] cloud-service(N): source does not exist",
         "[INFO] cloud-service(N): user installation is ready, removing backup app", "[DEBUG] launcher(N): done"});
    EXPECT_EQ(snapshot(scene_->App()), snapshot(VELMORA_CLIENT));
    ASSERT_TRUE(Eventually([&] { return scene_->ClientRuns(build_); }));
    Run({"[DEBUG] launcher(N): no need to upgrade", "[DEBUG] launcher(N): done"});

    const auto installed = snapshot(scene_->App());
    MakeRelease(build_ + 1, true);
    Run({"[ERROR] cloud-service(N): Failed to extract package, rollback to old installation",
         "[ERROR] launcher(N): Failed to upgrade package", "[DEBUG] launcher(N): done"});
    EXPECT_EQ(snapshot(scene_->App()), installed);
    ASSERT_TRUE(Eventually([&] { return scene_->ClientRuns(build_); }));

    const std::string release = MakeRelease(build_ + 1);
    Run({"[DEBUG] mac/mac-service(N): local appdata exist",
         "[INFO] cloud-service(N): user installation is ready, removing backup app"});
    EXPECT_EQ(snapshot(scene_->App()), snapshot(release));
    ASSERT_TRUE(Eventually([&] { return scene_->ClientRuns(build_ + 1); }));
}

// A client that will not stop (the one the install opens leaves it be) holds the first launcher
// up: a second launcher must leave it be; once the first is killed outright, its lock must not
// keep the next one out, which then has to end the client with SIGKILL.
TEST_F(LauncherE2E, SecondStartExitsAtOnceCrashedLauncherNeverBlocksAndStubbornClientIsKilled) {
    // Run from the per-user copy: the launcher stops no other program.
    scene_->Install(VELMORA_CLIENT);
    const pid_t stubborn = scene_->Start({scene_->App() + "/Contents/MacOS/cloud-ui", "--ignore-sigterm"});
    ASSERT_TRUE(Eventually([&] { return scene_->ClientPid() == stubborn; }));
    Run({"[DEBUG] launcher(N): no need to upgrade"});
    const std::string release = MakeRelease(build_ + 1);

    const pid_t first = scene_->Start({scene_->Launcher()});
    ASSERT_TRUE(Eventually([&] { return scene_->Log().find("local appdata exist") != std::string::npos; }));
    Run({"[DEBUG] main(N): app has already launched, return"}, false);
    EXPECT_EQ(0, waitpid(first, nullptr, WNOHANG)) << "the first launcher should still wait for the client";
    kill(first, SIGKILL);
    EXPECT_EQ(SIGKILL, scene_->Wait(first).signal);

    Run({"[DEBUG] launcher(N): running", "[INFO] cloud-service(N): user installation is ready, removing backup app"});
    // It ignores SIGTERM, so only SIGKILL can have ended it.
    EXPECT_EQ(SIGKILL, scene_->Wait(stubborn).signal);
    EXPECT_EQ(snapshot(scene_->App()), snapshot(release));
    EXPECT_TRUE(Eventually([&] { return scene_->ClientRuns(build_ + 1); }));
}

// Two bundles on one machine (the installed one and an older copy in Downloads) started together
// for one home: the single-instance rule is per executable, so only the lock on the per-user copy
// keeps their upgrades apart. The one that waits decides again on what the other left.
TEST_F(LauncherE2E, TwoBundlesStartedTogetherLeaveOneCleanCopyOfTheNewerPackage) {
    const std::string older = scene_->Dir() + "/older", newer = scene_->Dir() + "/newer";
    MakeClient(older, 1, build_ + 1, 1500);
    MakeClient(newer, 2, build_ + 2, 1500);
    scene_->Release(older);
    const std::string downloads = scene_->Dir() + "/Downloads/Velmora.app";
    fs::create_directories(downloads);
    fs::copy(scene_->Dir() + "/Velmora.app", downloads, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    scene_->Release(newer);
    const pid_t first = scene_->Start({downloads + "/Contents/MacOS/launcher"});
    const pid_t second = scene_->Start({scene_->Launcher()});
    const Scene::Exit one = scene_->Wait(first), other = scene_->Wait(second);
    EXPECT_TRUE(one.clean) << one.output;
    EXPECT_TRUE(other.clean) << other.output;
    EXPECT_EQ("", Diff(snapshot(scene_->App()), snapshot(newer))) << scene_->Log();
    EXPECT_TRUE(scene_->Leftovers().empty());
}

// Started as root with a user's HOME (su without -), the launcher would signal the pid named in a
// file that user can write and start that user's client, as root. It must touch nothing there.
TEST_F(LauncherE2E, RefusesAHomeItsUserDoesNotOwnAndTouchesNothing) {
    if (geteuid() != 0 || !scene_->User().drop)
        GTEST_SKIP() << "needs root, to run the launcher for the home of the test account";
    const std::string out = scene_->Dir() + "/refused";
    const std::string run = "HOME=" + scene_->Home() + " " + scene_->Launcher() + " >" + out + " 2>&1";
    EXPECT_EQ(0, std::system(run.c_str()));
    EXPECT_TRUE(fs::is_empty(scene_->Home()));
    EXPECT_NE(std::string::npos, readFile(out).find("launcher: not starting: home folder '" + scene_->Home() +
                                                    "' belongs to uid " + std::to_string(scene_->User().uid)))
        << readFile(out);
}

// A client that cannot be started is reported in the log, and the launcher still ends normally
// and keeps the copy it installed. (A package without the client executable is refused by the
// packer, so a missing one is the opener's unit test's case.)
TEST_F(LauncherE2E, ClientThatCannotStartIsLoggedAndKept) {
    const std::string stage = MakeRelease(build_ + 1), exe = "/Contents/MacOS/cloud-ui";
    testsupport::writeFile(stage + exe, "not a program\n");
    fs::permissions(stage + exe, fs::perms::owner_all | fs::perms::others_exec);
    scene_->Release(stage);
    Run({"[INFO] cloud-service(N): user installation is ready, removing backup app",
         "[ERROR] platform/bundle_opener_linux(N): Cannot start the application '" + scene_->App() + exe +
             "': Exec format error (8)",
         "[DEBUG] launcher(N): done"},
        false);
    EXPECT_EQ("", Diff(snapshot(scene_->App()), snapshot(stage)));
    EXPECT_EQ(0, scene_->ClientPid());
}

} // namespace
