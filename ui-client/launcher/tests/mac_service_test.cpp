#include <chrono>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "file_tree.h"
#include "mac/mac-service.h"
#include "temp_dir.h"

using namespace testsupport;
using namespace std::chrono;

namespace {

volatile sig_atomic_t terms_received = 0;

class StopServiceTest : public ::testing::Test {
protected:
    void WritePidFile(const std::string& content) { writeFile(home_.path() + "/.Velmora/ui.pid", content); }
    // The child inherits SIGTERM's disposition, so it is ready at once; reaped when it ends, it is gone for signal 0.
    int StopChild(bool ignore_term, steady_clock::duration& took) {
        const auto previous = signal(SIGTERM, ignore_term ? SIG_IGN : SIG_DFL);
        const pid_t pid = fork();
        for (; pid == 0;)
            pause();
        signal(SIGTERM, previous);
        WritePidFile("pid=" + std::to_string(pid) + "\n");
        auto status = std::async(std::launch::async, [pid] {
            int st = 0;
            return waitpid(pid, &st, 0) == pid ? st : -1;
        });
        const auto start = steady_clock::now();
        MacService().StopService();
        took = steady_clock::now() - start;
        if (status.wait_for(seconds(10)) != std::future_status::ready)
            kill(pid, SIGINT); // not reaped, so still this child's; a signal the service never sends
        return status.get();
    }
    ScratchHome home_;
};

TEST_F(StopServiceTest, EndsClientWithSigtermAndKillsOneThatIgnoresItAfterFiveSeconds) {
    steady_clock::duration took;
    EXPECT_EQ(SIGTERM, WTERMSIG(StopChild(false, took)));
    EXPECT_EQ(SIGKILL, WTERMSIG(StopChild(true, took)));
    EXPECT_GE(took, seconds(4));
}

TEST_F(StopServiceTest, NeverSignalsWithoutAUsablePid) {
    // Its own process group, so a pid of 0 or a negative one would reach this test and no other.
    ASSERT_TRUE(getpgrp() == getpid() || setpgid(0, 0) == 0);
    signal(SIGTERM, [](int) { terms_received = terms_received + 1; });
    for (const std::string pid : {"", "other=1\n", "pid=''\n", "pid=0\n", "pid=abc\n", "pid=-"}) {
        WritePidFile(pid == "pid=-" ? pid + std::to_string(getpgrp()) : pid);
        MacService().StopService();
    }
    EXPECT_EQ(0, terms_received);
}

} // namespace
