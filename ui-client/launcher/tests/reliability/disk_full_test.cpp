// An upgrade whose new client does not fit on the user's disk: the home folder is a small tmpfs,
// short of bytes or of inodes. The running client must not be interrupted for a copy that
// cannot be written.

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "file_tree.h"
#include "launcher_scene.h"

using namespace e2e;
using testsupport::snapshot;

namespace {

struct DiskFull : ::testing::TestWithParam<const char*> {};

TEST_P(DiskFull, NewClientThatCannotFitStopsNothingMovesNothingAndKeepsTheOldOneRunning) {
    if (!getenv("DISPLAY"))
        GTEST_SKIP() << "needs an X server: run it under xvfb-run";
    Scene scene;
    const std::string old = scene.Dir() + "/old/Velmora.app", fresh = scene.Dir() + "/new/Velmora.app";
    MakeClient(old, 1, 100, 100);
    MakeClient(fresh, 2, 200, 3000);
    scene.Release(fresh);
    // tmpfs takes a page and an inode for every file: the old client needs under 1 MB and about
    // 150 inodes, the new one over 12 MB and about 3000. Mounting needs root; Install hands the
    // mounted folder to the scene's user.
    if (mount("tmpfs", scene.Home().c_str(), "tmpfs", 0, GetParam()) != 0)
        GTEST_SKIP() << "mounting a tmpfs is not permitted here: " << strerror(errno);
    struct Unmount {
        Scene& scene;
        ~Unmount() {
            scene.StopClient();
            umount2(scene.Home().c_str(), MNT_DETACH);
        }
    } unmount{scene};

    scene.Install(old);
    const auto installed = snapshot(scene.App());
    scene.Start({scene.App() + "/Contents/MacOS/cloud-ui"});
    ASSERT_TRUE(Eventually([&] { return scene.ClientRuns(100); }));
    const pid_t client = scene.ClientPid();

    const Scene::Exit exit = scene.Run();
    ASSERT_TRUE(exit.clean) << exit.output;
    const std::string log = scene.TakeLog();
    size_t at = 0;
    for (const char* line : {"[WARNING] cloud-service(N): no room for the new copy, keeping the old one: it needs ",
                             "[ERROR] launcher(N): Failed to upgrade package\n"})
        EXPECT_NE(at = log.find(line, at), std::string::npos) << line << " missing or misplaced in\n" << log;
    EXPECT_EQ(std::string::npos, log.find("extract package")) << log;
    EXPECT_EQ(client, scene.ClientPid()) << "the running client was stopped";
    EXPECT_EQ("", Diff(snapshot(scene.App()), installed));
    EXPECT_EQ(std::vector<std::string>{}, scene.Leftovers());
}

INSTANTIATE_TEST_SUITE_P(Home, DiskFull, ::testing::Values("size=2m,mode=0755", "size=64m,nr_inodes=600,mode=0755"),
                         [](const auto& info) {
                             return std::string(info.index == 0 ? "ShortOfBytes" : "ShortOfInodes");
                         });

} // namespace
