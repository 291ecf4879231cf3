#include <QCoreApplication>
#include <QProcess>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <thread>

#include "file_tree.h"
#include "temp_dir.h"

namespace fs = std::filesystem;
using namespace testsupport;

namespace {

// A guard against hangs, not a speed target: the client starts in the background.
template <class F> bool Eventually(F condition) {
    for (int i = 0; i < 600 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return condition();
}

class LauncherE2E : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char* argv[] = {const_cast<char*>("launcher_e2e_test"), nullptr};
        static QCoreApplication app(argc, argv);
    }
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            GTEST_SKIP() << "needs an X server: run it under xvfb-run";
        fs::copy(VELMORA_BUNDLE, bundle_, fs::copy_options::recursive);
        fs::create_directory(home_);
        writeFile(bundle_ + "/log/launcher.debug",
                  "launcher_debug=7\nservice_debug=7\nextractor_debug=7\nfile_op_debug=7\n");
        const std::string info = readFile(bundle_ + "/Contents/Resources/INFO");
        build_ = std::stoi(info.substr(info.find("build_version=") + 14));
        env_.insert("HOME", QString::fromStdString(home_));
        env_.insert("QT_QPA_PLATFORM", "xcb");
        env_.insert("PATH", VELMORA_XDG_OPEN_DIR ":" + env_.value("PATH"));
        env_.insert("VELMORA_XDG_OPEN_LOG", QString::fromStdString(tmp_ / "xdg-open.log"));
    }
    void TearDown() override {
        if (const pid_t pid = ClientPid())
            kill(pid, SIGTERM);
    }

    std::unique_ptr<QProcess> Start(const std::string& program, const QStringList& args = {}) {
        auto p = std::make_unique<QProcess>();
        p->setProcessEnvironment(env_);
        p->start(QString::fromStdString(program), args);
        return p;
    }
    // One launcher run on fresh logs: what every run must do, and the lines it logs in this order
    // (source line numbers shown as N).
    void Run(std::initializer_list<std::string> lines, bool opensClient = true) {
        fs::remove(home_ + "/.Velmora/log/launcher.log");
        fs::remove(tmp_ / "xdg-open.log");
        auto p = Start(bundle_ + "/Contents/MacOS/launcher");
        ASSERT_TRUE(p->waitForFinished(180000));
        EXPECT_TRUE(p->exitStatus() == QProcess::NormalExit && p->exitCode() == 0) << p->readAllStandardError().data();
        EXPECT_EQ(p->readAllStandardOutput().split('\n').value(0).toStdString(),
                  "lib path = '" + bundle_ + "/Contents/Frameworks/plugins'");
        if (opensClient)
            EXPECT_TRUE(Eventually([&] { return readFile(tmp_ / "xdg-open.log") == "file://" + app_ + "\n"; }));
        else
            EXPECT_FALSE(exists(tmp_ / "xdg-open.log"));
        size_t at = 0;
        for (const std::string& l : lines)
            EXPECT_NE(at = Log().find(l + "\n", at), std::string::npos) << l << " missing or misplaced in\n" << Log();
    }
    std::string Log() const {
        return std::regex_replace(readFile(home_ + "/.Velmora/log/launcher.log"), std::regex(R"(\(\d+\): )"), "(N): ");
    }
    pid_t ClientPid() const {
        const std::string file = readFile(home_ + "/.Velmora/ui.pid");
        const pid_t pid = file.rfind("pid=", 0) == 0 ? std::atoi(file.c_str() + 4) : 0;
        return pid > 0 && kill(pid, 0) == 0 ? pid : 0;
    }
    bool ClientRuns(int build) const {
        const std::string started = "." + std::to_string(build) + " (pid " + std::to_string(ClientPid()) + ") started";
        return ClientPid() && readFile(home_ + "/.Velmora/cloud-ui.log").find(started) != std::string::npos;
    }
    // The bundle as a later release: the client repacked with another build number, which the
    // bundle's INFO then carries too. A broken package is cut off half-way.
    std::string MakeRelease(int build, bool broken = false) {
        const std::string stage = tmp_ / "release", res = bundle_ + "/Contents/Resources/";
        fs::remove_all(stage);
        fs::copy(VELMORA_CLIENT, stage, fs::copy_options::recursive);
        writeFile(stage + "/Contents/Resources/INFO", "[Version]\nbuild_version=" + std::to_string(build) + "\n");
        fs::copy_file(stage + "/Contents/Resources/INFO", res + "INFO", fs::copy_options::overwrite_existing);
        EXPECT_EQ(std::system((VELMORA_PACK " " + stage + " " + res + "package/velmora.hpk").c_str()), 0);
        if (broken)
            fs::resize_file(res + "package/velmora.hpk", fs::file_size(res + "package/velmora.hpk") / 2);
        return stage;
    }

    TempDir tmp_;
    const std::string bundle_ = tmp_ / "Velmora.app", home_ = tmp_ / "home", app_ = home_ + "/.Velmora/Velmora.app";
    int build_ = 0;
    QProcessEnvironment env_ = QProcessEnvironment::systemEnvironment();
};

TEST_F(LauncherE2E, InstallsOnceUpgradesToNewerBuildAndRollsBackBrokenPackage) {
    // The two files the upgrade decision reads come last, so a cut-off unpack never looks done.
    auto tar = Start("bsdtar", {"-tf", QString::fromStdString(bundle_ + "/Contents/Resources/package/velmora.hpk")});
    ASSERT_TRUE(tar->waitForFinished());
    EXPECT_TRUE(tar->readAllStandardOutput().endsWith("\nContents/MacOS/cloud-ui\nContents/Resources/INFO\n"));

    Run({"[DEBUG] launcher(N): running", "[INFO] cloud-service(N): source does not exist",
         "[INFO] cloud-service(N): user installation is ready, removing backup app", "[DEBUG] launcher(N): done"});
    EXPECT_EQ(snapshot(app_), snapshot(VELMORA_CLIENT));
    ASSERT_TRUE(Eventually([&] { return ClientRuns(build_); }));
    Run({"[DEBUG] launcher(N): no need to upgrade", "[DEBUG] launcher(N): done"});

    const auto installed = snapshot(app_);
    MakeRelease(build_ + 1, true);
    Run({"[ERROR] cloud-service(N): Failed to extract package, rollback to old installation",
         "[ERROR] launcher(N): Failed to upgrade package", "[DEBUG] launcher(N): done"});
    EXPECT_EQ(snapshot(app_), installed);
    ASSERT_TRUE(Eventually([&] { return ClientRuns(build_); }));

    const std::string release = MakeRelease(build_ + 1);
    Run({"[DEBUG] mac/mac-service(N): local appdata exist",
         "[INFO] cloud-service(N): user installation is ready, removing backup app"});
    EXPECT_EQ(snapshot(app_), snapshot(release));
    ASSERT_TRUE(Eventually([&] { return ClientRuns(build_ + 1); }));
}

// A client that will not stop (the one the install opens leaves it be) holds the first launcher
// up: a second launcher must leave it be; once the first is killed outright, its lock must not
// keep the next one out, which then has to end the client with SIGKILL.
TEST_F(LauncherE2E, SecondStartExitsAtOnceCrashedLauncherNeverBlocksAndStubbornClientIsKilled) {
    auto stubborn = Start(VELMORA_CLIENT "/Contents/MacOS/cloud-ui", {"--ignore-sigterm"});
    ASSERT_TRUE(Eventually([&] { return ClientPid() == stubborn->processId(); }));
    Run({});
    const std::string release = MakeRelease(build_ + 1);

    auto first = Start(bundle_ + "/Contents/MacOS/launcher");
    ASSERT_TRUE(Eventually([&] { return Log().find("local appdata exist") != std::string::npos; }));
    Run({"[DEBUG] main(N): app has already launched, return"}, false);
    EXPECT_FALSE(first->waitForFinished(0));
    first->kill();
    ASSERT_TRUE(first->waitForFinished());

    Run({"[DEBUG] launcher(N): running", "[INFO] cloud-service(N): user installation is ready, removing backup app"});
    EXPECT_EQ(Log().find("already launched"), std::string::npos);
    // It ignores SIGTERM, so only SIGKILL can have ended it.
    ASSERT_TRUE(stubborn->waitForFinished());
    EXPECT_EQ(stubborn->exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(snapshot(app_), snapshot(release));
    EXPECT_TRUE(Eventually([&] { return ClientRuns(build_ + 1); }));
}

} // namespace
