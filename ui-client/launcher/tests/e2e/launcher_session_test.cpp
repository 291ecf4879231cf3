// The real launcher in a Wayland session without X and in one with no display at all: each
// first install is done and the client started; only where the dialog shows differs.

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <unistd.h>

#include "file_tree.h"
#include "launcher_scene.h"

using namespace e2e;

namespace {

class LauncherSession : public ::testing::Test {
protected:
    void SetUp() override {
        scene_ = std::make_unique<Scene>();
        const std::string info = testsupport::readFile(scene_->Info());
        build_ = std::stoi(info.substr(info.find("build_version=") + 14));
    }

    // One first install in the given environment: the launcher ends by itself with 0, the
    // client of the bundle's build runs, and the log names the platform Qt ran on.
    std::string Install(const std::vector<std::string>& env, const std::string& platform) {
        const Scene::Exit exit = scene_->Run(env);
        EXPECT_TRUE(exit.clean) << "signal " << exit.signal << "\n" << exit.output;
        EXPECT_TRUE(Eventually([&] { return scene_->ClientRuns(build_); })) << exit.output;
        const std::string log = scene_->Log();
        EXPECT_NE(log.find("[DEBUG] platform_choice(N): running on platform '" + platform + "'\n"), std::string::npos)
            << log;
        return log + exit.output;
    }

    std::string Runtime() const { return scene_->Dir() + "/runtime"; }

    std::unique_ptr<Scene> scene_;
    int build_ = 0;
};

TEST_F(LauncherSession, ShowsTheDialogOnAWaylandCompositorWithoutX) {
    if (access("/usr/bin/weston", X_OK) != 0)
        GTEST_SKIP() << "needs weston (scripts/setup installs it)";
    // weston, like the launcher, runs as the scene's user in its runtime folder (0700, its own).
    const pid_t weston = scene_->Start(
        {"/usr/bin/weston", "--backend=headless-backend.so", "--socket=velmora-wl", "--idle-time=0"}, {"DISPLAY"});
    ASSERT_TRUE(Eventually([&] { return testsupport::exists(Runtime() + "/velmora-wl"); })) << "weston did not start";

    // WAYLAND_DEBUG makes the client library print every request it sends to the compositor.
    const std::string seen =
        Install({"QT_QPA_PLATFORM=wayland", "WAYLAND_DISPLAY=velmora-wl", "DISPLAY", "WAYLAND_DEBUG=1"}, "wayland");
    EXPECT_EQ(seen.find("[WARNING] platform_choice"), std::string::npos) << seen;
    EXPECT_NE(seen.find(".get_toplevel(new id xdg_toplevel@"), std::string::npos)
        << "the dialog's window was not made on the compositor:\n"
        << seen;
    kill(weston, SIGTERM);
    EXPECT_TRUE(scene_->Wait(weston).clean);
}

TEST_F(LauncherSession, DoesItsWholeJobWithNoDisplayAtAll) {
    const std::string seen = Install({"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}, "offscreen");
    EXPECT_NE(seen.find("[WARNING] platform_choice(N): starting on 'offscreen': DISPLAY is not set; no Wayland "
                        "compositor answers at '" +
                        Runtime() + "/wayland-0'; the dialog shows nowhere\n"),
              std::string::npos)
        << seen;
}

} // namespace
