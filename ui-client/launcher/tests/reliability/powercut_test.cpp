// Power lost at any moment of an upgrade: the home folder is a powercut-fs mount, which keeps
// what the launcher did not make durable apart and drops it when the power goes. The launcher is
// stopped at a numbered file-system call (crash_point.cpp), the power is cut, and the next
// start and the one after (with another cut between them) must each leave exactly the new
// client, byte for byte, and the client opened; after the second, no backup is left.
//
// The moments are drawn in turn from six phases: the backup, the counting pass, the unpack
// (with its barriers), the removal of the backup, just after a complete upgrade, and the start
// after a run killed once INFO was written but before it was durable, which finds the copy
// current and removes the leftover backup. Each cut loses, at random, everything unsynced, a
// seeded random part of it, or the unsynced data of files but no name. The turn of phases starts
// at a random one. VELMORA_POWERCUT_MOMENTS sets how many (2 when unset), VELMORA_POWERCUT_SEED
// replays a printed draw.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <random>

#include "crash_trace.h"
#include "file_tree.h"
#include "launcher_scene.h"
#include "powercut_mount.h"

using namespace e2e;
using testsupport::snapshot;

namespace {

const int kOldBuild = 100, kNewBuild = 200;

class PowerCut : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!getenv("DISPLAY"))
            return;
        scene_ = new Scene;
        old_ = scene_->Dir() + "/old/Velmora.app";
        expected_ = new Tree(PrepareUpgrade(*scene_, old_, kOldBuild, kNewBuild));
        mount_ = new PowercutMount(scene_->Dir() + "/backing", scene_->Home());
        if (!mount_->Mounted())
            return;
        // An upgrade to its end, and the start after one killed once INFO was written, record
        // the calls a power cut can follow.
        upgrade_ = Record(0);
        const std::string app = scene_->App();
        // The first call after the unpack wrote INFO whole: the barrier that makes it durable.
        const long package = Find(upgrade_, "open", scene_->Package());
        const long written = Find(upgrade_, "open", app + "/Contents/Resources/INFO",
                                  Find(upgrade_, "open", scene_->Package(), package));
        after_info_ = Find(upgrade_, "open", app, written);
        next_start_ = Record(after_info_);
    }
    static void TearDownTestSuite() {
        if (scene_)
            scene_->StopClient();
        delete mount_;
        delete scene_;
        delete expected_;
    }
    void SetUp() override {
        if (!scene_)
            GTEST_SKIP() << "needs an X server: run it under xvfb-run";
        if (!mount_->Mounted())
            GTEST_SKIP() << mount_->Skipped();
        ASSERT_FALSE(upgrade_.empty() || next_start_.empty()) << "the recorded runs did not happen";
    }

    static std::vector<std::string> Preload(long at, const std::string& trace = "") {
        return CrashPoint(*scene_, at, trace);
    }
    static void Fresh() {
        scene_->Install(old_);
        ASSERT_TRUE(mount_->Sync());
    }
    // Stops the launcher just before call `at` (or lets it end when 0), then ends the client.
    static void RunTo(long at, const std::string& trace = "") {
        const Scene::Exit exit = scene_->Run(Preload(at, trace));
        EXPECT_TRUE(at ? exit.frozen : exit.clean) << "stopped at " << at << ": " << exit.output;
        // The desktop opens the client after the launcher has ended: wait for it, or it would
        // start after this stop, and a cut could then lose the pid file that names it.
        if (exit.clean) {
            EXPECT_TRUE(Eventually([] { return scene_->ClientRuns(kNewBuild); }));
        }
        scene_->StopClient();
        scene_->TakeLog();
    }
    static Trace Record(long killed_first_at) {
        Fresh();
        if (killed_first_at)
            RunTo(killed_first_at);
        const std::string file = scene_->Dir() + "/trace";
        RunTo(0, file);
        return ReadTrace(file);
    }

    // After a cut, a normal start must leave exactly the new client, opened. A backup numbered
    // above the one this start made may stay until the following start, which finds the copy
    // current and durable and removes it.
    void StartAndCheck(const char* which, bool no_leftovers) {
        SCOPED_TRACE(which);
        scene_->TakeLog();
        const Scene::Exit exit = scene_->Run();
        ASSERT_TRUE(exit.clean) << exit.output;
        EXPECT_EQ("", Diff(snapshot(scene_->App()), *expected_)) << scene_->TakeLog();
        if (no_leftovers) {
            EXPECT_EQ(std::vector<std::string>{}, scene_->Leftovers()) << scene_->Log();
        }
        EXPECT_TRUE(Eventually([&] { return scene_->ClientRuns(kNewBuild); }));
        scene_->StopClient();
    }

    static Scene* scene_;
    static PowercutMount* mount_;
    static std::string old_;
    static Tree* expected_;
    static Trace upgrade_, next_start_;
    static long after_info_;
};

Scene* PowerCut::scene_ = nullptr;
PowercutMount* PowerCut::mount_ = nullptr;
std::string PowerCut::old_;
Tree* PowerCut::expected_ = nullptr;
Trace PowerCut::upgrade_, PowerCut::next_start_;
long PowerCut::after_info_ = 0;

TEST_F(PowerCut, PowerLostAtAnyMomentOfAnUpgradeLeavesTheNewClientAtTheNextStartAndTheOneAfter) {
    const std::string app = scene_->App();
    const long backup = Find(upgrade_, "rename", app), count = Find(upgrade_, "open", scene_->Package());
    const long unpack = Find(upgrade_, "open", scene_->Package(), count);
    const long removal = Find(upgrade_, "remove", app + "_tmp/");
    ASSERT_TRUE(count && count < backup && backup < unpack && unpack < removal && after_info_) << "unexpected calls";
    struct Phase {
        const char* name;
        long first, last; // calls to stop before; 0: let the run end
        bool after_killed_run;
    };
    // The package is counted, and measured against the volume, before the old copy is moved.
    const Phase phases[] = {{"counting pass", count, backup, false},
                            {"backup", backup + 1, unpack, false},
                            {"unpack", unpack + 1, removal, false},
                            {"backup removal", removal + 1, static_cast<long>(upgrade_.size()), false},
                            {"after a complete upgrade", 0, 0, false},
                            {"start after a killed run", 1, static_cast<long>(next_start_.size()), true}};

    const char* seed_text = getenv("VELMORA_POWERCUT_SEED");
    const unsigned seed = seed_text ? static_cast<unsigned>(std::stoul(seed_text)) : std::random_device()();
    const int moments = getenv("VELMORA_POWERCUT_MOMENTS") ? std::atoi(getenv("VELMORA_POWERCUT_MOMENTS")) : 2;
    printf("power-cut moments: %d, seed %u (replay: VELMORA_POWERCUT_SEED=%u VELMORA_POWERCUT_MOMENTS=%d)\n", moments,
           seed, seed, moments);
    std::mt19937 rng(seed);
    // A few moments still cover every phase over many runs: the turn starts anywhere.
    const unsigned first = static_cast<unsigned>(rng() % 6);
    for (int i = 0; i < moments && !HasFailure(); ++i) {
        const Phase& phase = phases[(first + static_cast<unsigned>(i)) % 6];
        const long at = phase.first ? std::uniform_int_distribution<long>(phase.first, phase.last)(rng) : 0;
        const char* const modes[] = {"worst", "random", "names"};
        const std::string mode = modes[rng() % 3], mode_again = modes[rng() % 3];
        const unsigned cut = static_cast<unsigned>(rng()), cut_again = static_cast<unsigned>(rng());
        const Trace& calls = phase.after_killed_run ? next_start_ : upgrade_;
        const std::string call = at ? calls[static_cast<size_t>(at - 1)].name + " " + calls[at - 1].path : "none";
        printf("moment %d/%d (%s): before call %ld of %zu (%s), cut %s %u, then %s %u\n", i + 1, moments, phase.name,
               at, calls.size(), call.c_str(), mode.c_str(), cut, mode_again.c_str(), cut_again);
        SCOPED_TRACE("moment " + std::to_string(i + 1) + " (" + phase.name + ") at call " + std::to_string(at));
        Fresh();
        if (phase.after_killed_run)
            RunTo(after_info_);
        RunTo(at);
        ASSERT_TRUE(mount_->Cut(mode, cut));
        printf("  %s", mount_->Report().c_str());
        StartAndCheck("the next start", false);
        ASSERT_TRUE(mount_->Cut(mode_again, cut_again));
        StartAndCheck("the start after", true);
        fflush(stdout);
    }
}

} // namespace
