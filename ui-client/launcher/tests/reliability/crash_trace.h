#pragma once

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "file_tree.h"
#include "launcher_scene.h"

// What the crash-point library (preloaded into the launcher) records and where it stops it,
// shared by the tests that cut an upgrade short: a kill, a power cut.
namespace e2e {

// One file-system call of a recorded run, numbered from 1 in the order the launcher made them.
struct Call {
    long number;
    std::string name, path;
};
using Trace = std::vector<Call>;

inline Trace ReadTrace(const std::string& file) {
    Trace calls;
    std::ifstream in(file);
    for (Call c; in >> c.number >> c.name && std::getline(in >> std::ws, c.path);)
        calls.push_back(c);
    return calls;
}

// The number of the first recorded call after `after` that matches, 0 when none does.
inline long Find(const Trace& calls, const std::string& name, const std::string& path, long after = 0) {
    for (const Call& c : calls)
        if (c.number > after && c.name == name && c.path.rfind(path, 0) == 0)
            return c.number;
    return 0;
}

// The environment that stops the launcher just before call `at` (0: never) and, given a file,
// records every call into it.
inline std::vector<std::string> CrashPoint(const Scene& scene, long at, const std::string& trace = "") {
    const char* asan = std::getenv("ASAN_OPTIONS");
    return {"LD_PRELOAD=" VELMORA_CRASH_POINT, "VELMORA_CRASH_WATCH=" + scene.App(),
            "VELMORA_CRASH_PACKAGE=" + scene.Package(), "VELMORA_CRASH_AT=" + std::to_string(at),
            "VELMORA_CRASH_TRACE=" + trace,
            // The preloaded library comes before the sanitizer runtime in a sanitizer build.
            "ASAN_OPTIONS=verify_asan_link_order=0:" + std::string(asan ? asan : "")};
}

// Makes the old client at `old` (2,000 files) and releases a new one (3,000 files) in the scene's
// bundle; returns the new client's tree, which every recovered start must leave.
inline Tree PrepareUpgrade(Scene& scene, const std::string& old, int old_build, int new_build) {
    const std::string fresh = scene.Dir() + "/new/Velmora.app";
    MakeClient(old, 1, old_build, 2000);
    MakeClient(fresh, 2, new_build, 3000);
    scene.Release(fresh);
    return testsupport::snapshot(fresh);
}

} // namespace e2e
