#include "launcher_scene.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <regex>
#include <thread>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "file_tree.h"

extern char** environ;

namespace fs = std::filesystem;
using testsupport::readFile;
using testsupport::writeFile;

namespace e2e {

std::string Diff(const Tree& got, const Tree& want) {
    std::vector<std::string> found;
    for (const auto& [path, content] : want) {
        const auto it = got.find(path);
        if (it == got.end() || it->second != content)
            found.push_back((it == got.end() ? "missing " : "differs ") + path);
    }
    for (const auto& entry : got)
        if (!want.count(entry.first))
            found.push_back("extra " + entry.first);
    std::string out;
    for (size_t i = 0; i < found.size() && i < 5; ++i)
        out += found[i] + "\n";
    return found.size() > 5 ? out + "...\n" : out;
}

void MakeClient(const std::string& dir, int generation, int build, int files) {
    fs::remove_all(dir);
    fs::create_directories(fs::path(dir).parent_path());
    fs::copy(VELMORA_CLIENT, dir, fs::copy_options::recursive);
    const std::string info = "[Version]\nmajor_version=3\nminor_version=2\nicon_overlay_version=2\n";
    writeFile(dir + "/Contents/Resources/INFO", info + "build_version=" + std::to_string(build) + "\n");
    for (int i = 0; i < files; ++i) {
        if (generation > 1 && i % 11 == 0)
            continue;
        std::minstd_rand rng(static_cast<unsigned>(i * 2 + (generation > 1 && i % 7 == 0)));
        std::string text(20 + rng() % 1500, ' ');
        for (char& c : text)
            c = "abcdefghijklmnopqrstuvwxyz \n"[rng() % 28];
        writeFile(dir + "/Contents/Resources/l10n/" + std::to_string(i % 40) + "/" + std::to_string(i % 3) +
                      "/strings" + std::to_string(i) + ".txt",
                  text);
    }
    // Large enough that its data arrives in several writes, so it can be cut off half-way.
    const std::string framework = dir + "/Contents/Frameworks/Core.framework";
    std::minstd_rand rng(static_cast<unsigned>(generation));
    std::string core(400000, '\0');
    for (char& c : core)
        c = static_cast<char>(rng());
    writeFile(framework + "/Versions/A/Core", core);
    fs::create_directory_symlink("A", framework + "/Versions/Current");
    fs::create_symlink("Versions/Current/Core", framework + "/Core");
}

namespace {

Scene::RunAs FindUser() {
    Scene::RunAs user;
    user.uid = geteuid();
    user.gid = getegid();
    if (user.uid != 0) {
        const passwd* self = getpwuid(user.uid);
        user.name = self ? self->pw_name : std::to_string(user.uid);
        return user;
    }
    const char* name = getenv("VELMORA_TEST_USER") ? getenv("VELMORA_TEST_USER") : "velmora-test";
    const passwd* account = getpwnam(name);
    if (!account) {
        ADD_FAILURE() << "the tests run as root but there is no account " << name
                      << " to run the launcher as; scripts/setup adds it";
        user.name = "root";
        return user;
    }
    user = {account->pw_uid, account->pw_gid, name, true};
    return user;
}

} // namespace

Scene::Scene() : user_(FindUser()) {
    // Clients outlive the launcher that started them and come to this process, which must reap
    // them: a zombie still answers signal 0 and would look like a client that will not stop.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    fs::copy(VELMORA_BUNDLE, bundle_, fs::copy_options::recursive);
    // File operations stay at their default level: at full detail they log every removed file.
    writeFile(bundle_ + "/log/launcher.debug", "launcher_debug=7\nservice_debug=7\nextractor_debug=7\n");
    fs::create_directory(home_);
    // A per-user runtime folder, as a login session has; the single-instance lock lives there.
    const std::string runtime = tmp_ / "runtime";
    fs::create_directory(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    user_env_ = {"HOME=" + home_, "USER=" + user_.name, "LOGNAME=" + user_.name, "XDG_RUNTIME_DIR=" + runtime,
                 "QT_QPA_PLATFORM=xcb"};
    // xvfb-run's cookie file is readable by the tests' user only: the scene's user gets a copy.
    if (const char* xauth = getenv("XAUTHORITY"); xauth && user_.drop && fs::exists(xauth)) {
        fs::copy_file(xauth, tmp_ / "Xauthority");
        user_env_.push_back("XAUTHORITY=" + (tmp_ / "Xauthority"));
        HandOver(tmp_ / "Xauthority");
    }
    HandOver(home_);
    HandOver(runtime);
    // The scene's folder too, where a launcher may write (a crash trace), but not the bundle in
    // it: an installed bundle belongs to root, not to the user who runs it.
    if (user_.drop && chown(tmp_.path().c_str(), user_.uid, user_.gid) != 0)
        ADD_FAILURE() << "cannot hand " << tmp_.path() << " to " << user_.name << ": " << strerror(errno);
}

Scene::~Scene() {
    StopClient();
}

void Scene::HandOver(const std::string& path) const {
    if (!user_.drop)
        return;
    std::error_code ec;
    if (lchown(path.c_str(), user_.uid, user_.gid) != 0)
        ADD_FAILURE() << "cannot hand " << path << " to " << user_.name << ": " << strerror(errno);
    for (auto it = fs::recursive_directory_iterator(path, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec))
        if (lchown(it->path().c_str(), user_.uid, user_.gid) != 0)
            ADD_FAILURE() << "cannot hand " << it->path() << " to " << user_.name << ": " << strerror(errno);
}

void Scene::Release(const std::string& client_dir) {
    const std::string pack = VELMORA_PACK " " + client_dir + " " + Package();
    ASSERT_EQ(0, std::system(pack.c_str())) << pack;
    fs::copy_file(client_dir + "/Contents/Resources/INFO", bundle_ + "/Contents/Resources/INFO",
                  fs::copy_options::overwrite_existing);
}

void Scene::Install(const std::string& client_dir) {
    // The client opened by the previous run starts detached and may still be writing its pid
    // file and log: keep stopping it until the home folder stays empty.
    ASSERT_TRUE(Eventually([&] {
        StopClient();
        std::error_code ec;
        for (const auto& entry : fs::directory_iterator(home_, ec))
            fs::remove_all(entry.path(), ec);
        return fs::is_empty(home_, ec) && !ec;
    })) << "cannot empty "
        << home_;
    fs::create_directories(home_ + "/.Velmora");
    fs::copy(client_dir, app_, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    HandOver(home_);
}

pid_t Scene::Start(const std::vector<std::string>& argv, const std::vector<std::string>& extra_env) {
    // The extra variables win over the scene's, which win over the tests' own.
    const auto nameOf = [](const std::string& entry) { return entry.substr(0, entry.find('=')) + "="; };
    const auto setBy = [&](const std::vector<std::string>& list, const std::string& entry) {
        return std::any_of(list.begin(), list.end(), [&](const std::string& v) { return nameOf(v) == nameOf(entry); });
    };
    std::vector<std::string> env;
    for (const std::string& entry : user_env_)
        if (!setBy(extra_env, entry))
            env.push_back(entry);
    for (char** e = environ; *e; ++e)
        if (!setBy(user_env_, *e) && !setBy(extra_env, *e))
            env.push_back(*e);
    for (const std::string& entry : extra_env)
        if (entry.find('=') != std::string::npos)
            env.push_back(entry);
    std::vector<char*> envp, args;
    for (std::string& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);

    const std::string out = tmp_ / ("out." + std::to_string(++started_));
    // Everything is prepared before the fork: the child only makes async-signal-safe calls.
    const int fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    int ready[2];
    if (fd < 0 || pipe2(ready, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "cannot start " << argv[0] << ": " << strerror(errno);
        return 0;
    }
    const RunAs user = user_;
    const pid_t pid = fork();
    if (pid == 0) {
        int err = 0;
        if (dup2(fd, 1) < 0 || dup2(fd, 2) < 0)
            err = errno;
        else if (user.drop && (setgroups(0, nullptr) != 0 || setgid(user.gid) != 0 || setuid(user.uid) != 0))
            err = errno;
        else
            execve(args[0], args.data(), envp.data());
        err = err ? err : errno;
        (void)!write(ready[1], &err, sizeof(err));
        _exit(127);
    }
    close(fd);
    close(ready[1]);
    int err = 0;
    const bool failed = pid < 0 || read(ready[0], &err, sizeof(err)) == sizeof(err);
    close(ready[0]);
    if (failed) {
        ADD_FAILURE() << "cannot start " << argv[0] << " as " << user_.name << ": " << strerror(pid < 0 ? errno : err);
        if (pid > 0)
            waitpid(pid, nullptr, 0);
        return 0;
    }
    outputs_[pid] = out;
    return pid;
}

void Scene::Reap() const {
    int status = 0;
    for (pid_t pid; (pid = waitpid(-1, &status, WNOHANG | WUNTRACED)) > 0;)
        if (outputs_.count(pid))
            ended_[pid] = status;
}

Scene::Exit Scene::Wait(pid_t pid) {
    Exit exit;
    if (pid == 0)
        return exit;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(3);
    for (Reap(); !ended_.count(pid); Reap()) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "pid " << pid << " hangs; killed";
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            return exit;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    int status = ended_[pid];
    ended_.erase(pid);
    exit.output = readFile(outputs_[pid]);
    if (WIFSTOPPED(status)) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        exit.frozen = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    } else {
        exit.clean = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        exit.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    return exit;
}

std::string Scene::Log() const {
    return std::regex_replace(readFile(home_ + "/.Velmora/log/launcher.log"), std::regex(R"(\(\d+\): )"), "(N): ");
}

std::string Scene::TakeLog() {
    const std::string log = Log();
    fs::remove(home_ + "/.Velmora/log/launcher.log");
    return log;
}

pid_t Scene::ClientPid() const {
    Reap();
    const std::string file = readFile(home_ + "/.Velmora/ui.pid");
    const pid_t pid = file.rfind("pid=", 0) == 0 ? std::atoi(file.c_str() + 4) : 0;
    return pid > 0 && kill(pid, 0) == 0 ? pid : 0;
}

bool Scene::ClientRuns(int build) const {
    const std::string started = "." + std::to_string(build) + " (pid " + std::to_string(ClientPid()) + ") started";
    return ClientPid() && readFile(home_ + "/.Velmora/cloud-ui.log").find(started) != std::string::npos;
}

void Scene::StopClient() {
    if (const pid_t pid = ClientPid()) {
        kill(pid, SIGKILL);
        // Until it is reaped it still answers signal 0.
        Eventually([&] {
            Reap();
            return kill(pid, 0) != 0;
        });
    }
}

std::vector<std::string> Scene::Leftovers() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(home_ + "/.Velmora"))
        if (entry.path().filename().string().rfind("Velmora.app_tmp", 0) == 0)
            found.push_back(entry.path().filename().string());
    return found;
}

} // namespace e2e
