#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "temp_dir.h"

namespace e2e {

// Writes a client bundle of about `files` generated files into dir: the sample client's
// executable and property list, nested resource folders, one large file, framework-style
// symbolic links, and an INFO that ends with its build number. A later generation changes every
// seventh file, drops every eleventh and adds new ones.
void MakeClient(const std::string& dir, int generation, int build, int files);

// The real launcher in a copy of the assembled bundle, with a home folder of its own and the
// xdg-open stand-in first on PATH. Must run under an X server.
class Scene {
public:
    Scene();
    ~Scene();

    // Puts the client into the bundle as its package (packed by velmora-pack) and its INFO.
    void Release(const std::string& client_dir);
    // Empties the home folder (it may be a mount point) and makes the per-user copy a plain copy
    // of the given client.
    void Install(const std::string& client_dir);

    struct Exit {
        bool frozen = false; // stopped at its crash point, then killed with SIGKILL
        bool clean = false;  // ended by itself with status 0
        int signal = 0;      // the signal that ended it
        std::string output;  // what it wrote to standard output and error
    };
    // Starts a program in the scene's environment, its output going to a file of the scene's;
    // 0 when it cannot start.
    pid_t Start(const std::vector<std::string>& argv, const std::vector<std::string>& extra_env = {});
    // Waits for a program started above to end, or to stop at its crash point.
    Exit Wait(pid_t pid);
    // Runs the launcher to its end, or to its crash point when the extra environment preloads one.
    Exit Run(const std::vector<std::string>& extra_env = {}) { return Wait(Start({Launcher()}, extra_env)); }

    // The launcher's log without source line numbers ("(N): ").
    std::string Log() const;
    // The same, then emptied for the next run.
    std::string TakeLog();
    std::string XdgOpenLog() const;
    // Whether the client that the launcher opened runs, at this build.
    bool ClientRuns(int build) const;
    pid_t ClientPid() const;
    // Ends a client that is running, so that the next run starts from the same state.
    void StopClient();
    std::vector<std::string> Leftovers() const;

    const std::string& App() const { return app_; }
    const std::string& Home() const { return home_; }
    std::string Launcher() const { return bundle_ + "/Contents/MacOS/launcher"; }
    std::string Package() const { return bundle_ + "/Contents/Resources/package/velmora.hpk"; }
    std::string Info() const { return bundle_ + "/Contents/Resources/INFO"; }
    std::string Dir() const { return tmp_.path(); }

private:
    testsupport::TempDir tmp_;
    const std::string bundle_ = tmp_ / "Velmora.app";
    const std::string home_ = tmp_ / "home";
    const std::string app_ = home_ + "/.Velmora/Velmora.app";
    int started_ = 0;
    std::map<pid_t, std::string> outputs_;
};

using Tree = std::map<std::string, std::string>;

// Names up to five paths where two snapshots differ; empty when they are the same.
std::string Diff(const Tree& got, const Tree& want);

// A guard against hangs, not a speed target.
bool Eventually(const std::function<bool()>& condition);

} // namespace e2e
