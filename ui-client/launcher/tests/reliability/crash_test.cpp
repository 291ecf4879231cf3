// The launcher killed with SIGKILL at any moment of an upgrade, then started once more: the
// user must end up with exactly the new client, no leftover backup, and the client opened.
//
// The moments are numbered file-system calls of the upgrade (see crash_point.cpp), recorded once
// by an upgrade that runs to its end. They are drawn in turn from its four phases: the backup,
// the counting pass over the package, the unpack, and the removal of the backup.
// VELMORA_CRASH_MOMENTS sets how many (6 when unset), VELMORA_CRASH_SEED replays a printed draw.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <set>

#include "crash_trace.h"
#include "file_tree.h"
#include "launcher_scene.h"

using namespace e2e;
using testsupport::snapshot;

namespace {

const int kOldBuild = 100, kNewBuild = 200;

struct Phase {
    const char* name;
    long first, last; // calls to stop before
};

class CrashTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!getenv("DISPLAY"))
            return;
        scene_ = new Scene;
        calls_ = new Trace;
        old_ = scene_->Dir() + "/old/Velmora.app";
        expected_ = new Tree(PrepareUpgrade(*scene_, old_, kOldBuild, kNewBuild));

        // One upgrade to its end records every call that a crash can precede.
        scene_->Install(old_);
        const std::string trace = scene_->Dir() + "/trace";
        const Scene::Exit exit = scene_->Run(Preload(0, trace));
        scene_->TakeLog();
        scene_->StopClient();
        ASSERT_TRUE(exit.clean) << exit.output;
        *calls_ = ReadTrace(trace);
    }
    static void TearDownTestSuite() {
        delete scene_;
        delete expected_;
        delete calls_;
    }
    void SetUp() override {
        if (!scene_)
            GTEST_SKIP() << "needs an X server: run it under xvfb-run";
        ASSERT_FALSE(calls_->empty()) << "the recorded upgrade did not run";
    }

    static std::vector<std::string> Preload(long at, const std::string& trace = "") {
        return CrashPoint(*scene_, at, trace);
    }

    static long Find(const std::string& name, const std::string& path, long after = 0) {
        return e2e::Find(*calls_, name, path, after);
    }
    static std::string Describe(long at) {
        const Call& c = (*calls_)[static_cast<size_t>(at - 1)];
        std::string path = c.path;
        // A read or write names its descriptor; the file is the one opened last before it.
        for (long n = at - 1; path.rfind("fd ", 0) == 0 && n > 0; --n)
            if ((*calls_)[static_cast<size_t>(n - 1)].name == "open")
                path = (*calls_)[static_cast<size_t>(n - 1)].path;
        return "before call " + std::to_string(at) + " of " + std::to_string(calls_->size()) + ": " + c.name + " " +
               path;
    }

    // Kills the upgrade from the old client to the new one just before call `at`, then starts
    // the launcher once more, normally.
    void CrashAndRecover(long at, bool must_upgrade = false) {
        SCOPED_TRACE(Describe(at));
        scene_->Install(old_);
        ASSERT_TRUE(scene_->Run(Preload(at)).frozen) << "the launcher never reached this call";
        const Tree after_kill = snapshot(scene_->App());
        scene_->TakeLog();

        const Scene::Exit exit = scene_->Run();
        ASSERT_TRUE(exit.clean) << exit.output;
        const std::string log = scene_->TakeLog();
        // The next start takes a copy as current only when it is the new client already.
        if (must_upgrade || log.find("[DEBUG] launcher(N): no need to upgrade\n") == std::string::npos)
            EXPECT_NE(log.find("[INFO] cloud-service(N): user installation is ready, removing backup app\n"),
                      std::string::npos)
                << log;
        else
            EXPECT_EQ("", Diff(after_kill, *expected_)) << "a copy that looked current was not";
        EXPECT_EQ("", Diff(snapshot(scene_->App()), *expected_));
        EXPECT_EQ(std::vector<std::string>{}, scene_->Leftovers());
        EXPECT_TRUE(Eventually([] { return scene_->ClientRuns(kNewBuild); }));
    }

    static Scene* scene_;
    static std::string old_;
    static Tree* expected_;
    static Trace* calls_;
};

Scene* CrashTest::scene_ = nullptr;
std::string CrashTest::old_;
Tree* CrashTest::expected_ = nullptr;
Trace* CrashTest::calls_ = nullptr;

TEST_F(CrashTest, KillAtAnyMomentOfUpgradeEndsWithNewClientNoLeftoverAndClientOpened) {
    const std::string app = scene_->App();
    const long backup = Find("rename", app), count = Find("open", scene_->Package());
    const long unpack = Find("open", scene_->Package(), count), removal = Find("remove", app + "_tmp/");
    const long total = static_cast<long>(calls_->size());
    ASSERT_TRUE(count && count < backup && backup < unpack && unpack < removal) << "unexpected call order";
    // The package is counted, and measured against the volume, before the old copy is moved.
    const Phase phases[] = {{"counting pass", count, backup},
                            {"backup", backup + 1, unpack},
                            {"unpack", unpack + 1, removal},
                            {"backup removal", removal + 1, total}};

    const char* seed_text = getenv("VELMORA_CRASH_SEED");
    const unsigned seed = seed_text ? static_cast<unsigned>(std::stoul(seed_text)) : std::random_device()();
    const int moments = getenv("VELMORA_CRASH_MOMENTS") ? std::atoi(getenv("VELMORA_CRASH_MOMENTS")) : 6;
    printf("crash moments: %d, seed %u (replay: VELMORA_CRASH_SEED=%u VELMORA_CRASH_MOMENTS=%d)\n", moments, seed, seed,
           moments);
    ASSERT_LE(moments, total) << "there are not that many moments";
    std::mt19937 rng(seed);
    std::set<long> done;
    const auto left = [&](const Phase& phase) {
        return phase.last - phase.first + 1 -
               std::distance(done.lower_bound(phase.first), done.upper_bound(phase.last));
    };
    for (int i = 0, turn = 0; i < moments && !HasFatalFailure(); ++i) {
        // The phases take turns; one with no call left to stop at (the backup has three) passes.
        while (left(phases[turn % 4]) == 0)
            ++turn;
        const Phase& phase = phases[turn++ % 4];
        long at = 0;
        do
            at = std::uniform_int_distribution<long>(phase.first, phase.last)(rng);
        while (done.count(at));
        done.insert(at);
        printf("moment %d/%d (%s): %s\n", i + 1, moments, phase.name, Describe(at).c_str());
        fflush(stdout);
        CrashAndRecover(at);
    }
}

// The decision reads only the client executable and INFO, and the package holds them last: an
// unpack cut off while it writes either of them, or any file before, needs the upgrade again.
TEST_F(CrashTest, UnpackKilledHalfWayNeverLooksCurrent) {
    const std::string app = scene_->App();
    const long client = Find("open", app + "/Contents/MacOS/cloud-ui");
    const long info = Find("open", app + "/Contents/Resources/INFO", client);
    ASSERT_TRUE(client && info) << "the client executable or INFO was never written";
    ASSERT_EQ(info, Find("open", app + "/", client)) << "INFO does not follow the client executable";
    // The launcher reads INFO back to check the new copy before the backup goes; nothing else follows.
    for (long at = Find("open", app + "/", info); at; at = Find("open", app + "/", at))
        ASSERT_EQ(app + "/Contents/Resources/INFO", (*calls_)[static_cast<size_t>(at - 1)].path)
            << "files follow INFO in the package";
    const long core = Find("open", app + "/Contents/Frameworks/Core.framework/Versions/A/Core");
    // Stopped at a write, a file is left with half of that write's bytes.
    for (const long at : {Find("write", "", core), Find("write", "", client), info, Find("write", "", info)})
        CrashAndRecover(at, true);
}

} // namespace
