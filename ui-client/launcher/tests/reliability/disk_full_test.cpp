// An upgrade whose new client does not fit on the user's disk: the home folder is a small tmpfs.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "file_tree.h"
#include "launcher_scene.h"

using namespace e2e;
using testsupport::snapshot;

namespace {

TEST(DiskFull, UpgradeThatDoesNotFitRestoresOldClientByteForByteLogsWhyAndOpensIt) {
    if (!getenv("DISPLAY"))
        GTEST_SKIP() << "needs an X server: run it under xvfb-run";
    Scene scene;
    const std::string old = scene.Dir() + "/old/Velmora.app", fresh = scene.Dir() + "/new/Velmora.app";
    MakeClient(old, 1, 100, 100);
    MakeClient(fresh, 2, 200, 3000);
    scene.Release(fresh);
    // tmpfs takes a page for every file: the old client needs under 1 MB, the new one over 10 MB.
    // Mounting needs root; Install hands the mounted folder to the scene's user.
    if (mount("tmpfs", scene.Home().c_str(), "tmpfs", 0, "size=2m,mode=0755") != 0)
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
    const Scene::Exit exit = scene.Run();
    ASSERT_TRUE(exit.clean) << exit.output;
    const std::string log = scene.TakeLog();
    size_t at = 0;
    for (const char* line : {"[ERROR] extractor(N): archive_read_extract2 failed: 'Write failed'\n",
                             "[ERROR] cloud-service(N): Failed to extract package, rollback to old installation\n",
                             "[ERROR] launcher(N): Failed to upgrade package\n"})
        EXPECT_NE(at = log.find(line, at), std::string::npos) << line << " missing or misplaced in\n" << log;
    EXPECT_EQ("", Diff(snapshot(scene.App()), installed));
    EXPECT_EQ(std::vector<std::string>{}, scene.Leftovers());
    EXPECT_TRUE(Eventually([&] { return scene.ClientRuns(100); }));
}

} // namespace
