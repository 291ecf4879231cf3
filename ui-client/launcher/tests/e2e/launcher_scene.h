#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "eventually.h"
#include "temp_dir.h"

namespace e2e {

// Writes a client bundle of about `files` generated files into dir: the sample client's
// executable and property list, nested resource folders, one large file, framework-style
// symbolic links, and an INFO that ends with its build number. A later generation changes every
// seventh file, drops every eleventh and adds new ones.
void MakeClient(const std::string& dir, int generation, int build, int files);

// The real launcher in a copy of the assembled bundle, with a home folder of its own, run the
// way a user runs it: as an unprivileged user (see RunAs) with the desktop's own xdg-utils.
// Must run under an X server.
class Scene {
public:
    Scene();
    ~Scene();

    // Who the programs of the scene run as. A real user is not root: permissions, the umask and
    // signalling another user's process all behave differently for root. When the tests run as
    // root, everything the scene starts runs as the test account (VELMORA_TEST_USER, else
    // velmora-test, made by scripts/setup); otherwise as the tests' own user.
    struct RunAs {
        uid_t uid = 0;
        gid_t gid = 0;
        std::string name;
        bool drop = false; // the tests run as root and switch to uid/gid in every program started
    };
    const RunAs& User() const { return user_; }
    // Makes path and everything below it the user's, as if the user had made it; a no-op when the
    // programs run as the tests' own user. Needed after preparing files as root, and for a file
    // system mounted over the home folder.
    void HandOver(const std::string& path) const;

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
    // Starts a program in the scene's environment, as the scene's user, its output going to a
    // file of the scene's; 0 when it cannot start. extra_env replaces variables of the same name,
    // and a bare NAME in it leaves NAME out.
    pid_t Start(const std::vector<std::string>& argv, const std::vector<std::string>& extra_env = {});
    // Waits for a program started above to end, or to stop at its crash point.
    Exit Wait(pid_t pid);
    // Runs the launcher to its end, or to its crash point when the extra environment preloads one.
    Exit Run(const std::vector<std::string>& extra_env = {}) { return Wait(Start({Launcher()}, extra_env)); }

    // The launcher's log without source line numbers ("(N): ").
    std::string Log() const;
    // The same, then emptied for the next run.
    std::string TakeLog();
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
    // The test process adopts the clients that launchers leave behind and reaps them, as a
    // session manager does; statuses of programs started by Start are kept for Wait.
    void Reap() const;

    RunAs user_;
    testsupport::TempDir tmp_;
    const std::string bundle_ = tmp_ / "Velmora.app";
    const std::string home_ = tmp_ / "home";
    const std::string app_ = home_ + "/.Velmora/Velmora.app";
    int started_ = 0;
    std::map<pid_t, std::string> outputs_;
    mutable std::map<pid_t, int> ended_;
    std::vector<std::string> user_env_;
};

using Tree = std::map<std::string, std::string>;

// Names up to five paths where two snapshots differ; empty when they are the same.
std::string Diff(const Tree& got, const Tree& want);

using testsupport::Eventually;

} // namespace e2e
