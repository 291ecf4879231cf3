#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include "file_tree.h"
#include "log.h"
#include "temp_dir.h"

namespace {

// Logger state is process-wide: tests re-initialise and use their own component names.
class LoggerTest : public ::testing::Test {
protected:
    void TearDown() override { Logger::Destroy(); }

    testsupport::TempDir dir;
    const std::string log = dir / "launcher.log";
};

const std::string kStamp = "[A-Z][a-z]{2} [0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9] ";

TEST_F(LoggerTest, DebugFileRaisesOnlyTheComponentsItNamesAndAMalformedOneSetsNothing) {
    ASSERT_TRUE(testsupport::writeFile(dir / "bad.debug", "syn_svc=7\nsyn_bad\n"));
    ASSERT_TRUE(testsupport::writeFile(dir / "good.debug", "thr_svc=7\ndefault_component=7\nthr_quiet=3\n"));
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_STDERR, "", dir / "bad.debug", 50), 0);
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, dir / "good.debug", 50), 0);
    Logger::LogMsg(Logger::LEVEL_DEBUG, "thr_svc", "[DEBUG] a(%d): svc %s\n", 1, "x");
    Logger::LogMsg(Logger::LEVEL_INFO, "thr_other", "[INFO] a(%d): other\n", 2);
    Logger::LogMsg(Logger::LEVEL_WARNING, "thr_other", "[WARNING] a(%d): other\n", 3);
    Logger::LogMsg(Logger::LEVEL_WARNING, "thr_quiet", "[WARNING] a(%d): quiet\n", 4);
    Logger::LogMsg(Logger::LEVEL_DEBUG, "syn_svc", "[DEBUG] a(%d): malformed\n", 5);
    EXPECT_TRUE(std::regex_match(testsupport::readFile(log), std::regex(kStamp + R"(\[DEBUG\] a\(1\): svc x\n)" +
                                                                        kStamp + R"(\[WARNING\] a\(3\): other\n)")));
}

// A full disk (here a file size limit) refuses a line half-way: the rest must follow, once, when
// space returns, so that the line that says why an upgrade failed is never lost.
TEST_F(LoggerTest, LineRefusedByAFullDiskIsWrittenWholeOnceSpaceReturns) {
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, "", 50), 0);
    Logger::LogMsg(Logger::LEVEL_ERROR, "full_disk", "[ERROR] a(%d): before\n", 1);
    const auto previous = signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &limit));
    const rlimit full = {static_cast<rlim_t>(testsupport::readFile(log).size() + 20), limit.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &full));
    // Longer than stdio's buffer: the write itself fails, not only the flush after it.
    const std::string reason = "Write failed " + std::string(9000, 'x');
    Logger::LogMsg(Logger::LEVEL_ERROR, "full_disk", "[ERROR] a(%d): the reason %s\n", 2, reason.c_str());
    Logger::LogMsg(Logger::LEVEL_ERROR, "full_disk", "[ERROR] a(%d): rollback\n", 3);
    const std::string during = testsupport::readFile(log);
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, previous);
    Logger::LogMsg(Logger::LEVEL_ERROR, "full_disk", "[ERROR] a(%d): after\n", 4);
    EXPECT_EQ(during.size(), full.rlim_cur) << "the limit did not cut the line";
    EXPECT_TRUE(std::regex_match(
        testsupport::readFile(log),
        std::regex(kStamp + R"(\[ERROR\] a\(1\): before\n)" + kStamp + R"(\[ERROR\] a\(2\): the reason )" + reason +
                   "\n" + kStamp + R"(\[ERROR\] a\(3\): rollback\n)" + kStamp + R"(\[ERROR\] a\(4\): after\n)")))
        << testsupport::readFile(log);
}

TEST_F(LoggerTest, RotationShiftsNumberedFilesAndKeepsTheCrossingMessageInTheOldFile) {
    // Bytes already in the file do not count: only this process's writes lead to a rotation.
    ASSERT_TRUE(testsupport::writeFile(log, "from an earlier run\n"));
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, "", 3), 0);
    // 16-byte stamp + 1008 bytes of text: the 1025th message of a file takes it past 1 MiB.
    const std::string pad(986, '.');
    for (int i = 0; i < 4 * 1025 + 10; ++i)
        Logger::LogMsg(Logger::LEVEL_ERROR, "rot", "[ERROR] r(%d): %06d %s\n", 1, i, pad.c_str());
    auto first_and_size = [](const std::string& path) {
        const std::string text = testsupport::readFile(path);
        return text.substr(30, 6) + "/" + std::to_string(text.size());
    };
    EXPECT_EQ(first_and_size(log), "004100/10240");
    EXPECT_EQ(first_and_size(log + "_0"), "003075/1049600");
    EXPECT_EQ(first_and_size(log + "_1"), "002050/1049600");
    EXPECT_FALSE(testsupport::exists(log + "_2"));
}

TEST_F(LoggerTest, FailedInitializeLeavesMessagesOnStandardError) {
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_STDERR, "", "", 50), 0);
    ASSERT_TRUE(testsupport::writeFile(dir / "not-a-folder", ""));
    EXPECT_EQ(Logger::Initialize(Logger::TYPE_FILE, dir / "not-a-folder/launcher.log", "", 50), -1);
    testing::internal::CaptureStderr();
    Logger::LogMsg(Logger::LEVEL_ERROR, "ro", "[ERROR] ro(%d): still here\n", 7);
    EXPECT_TRUE(std::regex_match(testing::internal::GetCapturedStderr(),
                                 std::regex(kStamp + R"(\[ERROR\] ro\(7\): still here\n)")));
}

TEST_F(LoggerTest, MessagesFromTwoThreadsNeverInterleave) {
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, "", 50), 0);
    auto writer = [](int id) {
        for (int i = 0; i < 2000; ++i)
            Logger::LogMsg(Logger::LEVEL_ERROR, "mt", "[ERROR] mt(%d): thread %d message %04d\n", 1, id, i);
    };
    std::thread other(writer, 2);
    writer(1);
    other.join();
    // Every message has the same length, so an interleaved pair would break the fixed grid.
    const std::string text = testsupport::readFile(log);
    ASSERT_EQ(text.size(), 4000u * 53);
    const std::regex line(kStamp + R"(\[ERROR\] mt\(1\): thread [12] message [0-9]{4}\n)");
    for (size_t at = 0; at < text.size(); at += 53)
        ASSERT_TRUE(std::regex_match(text.substr(at, 53), line)) << text.substr(at, 53);
}

// A rotation closes the live file before it reopens it; a message from another thread that
// arrives in between must wait for the new file, not be dropped. Each round writes 12,000 lines
// of 4 KiB from four threads, some 45 rotations; whether a message falls into a rotation is
// up to the scheduler, so the rounds repeat it (the dropping logger lost lines in about half
// of them).
TEST_F(LoggerTest, NoMessageIsLostWhileAnotherThreadRotates) {
    const std::string pad(4000, '.');
    auto writer = [&pad](int id) {
        for (int i = 0; i < 3000; ++i)
            Logger::LogMsg(Logger::LEVEL_ERROR, "lost", "[ERROR] lost(%d): %d %04d %s\n", 1, id, i, pad.c_str());
    };
    for (int round = 0; round < 6 && !HasFailure(); ++round) {
        const std::string path = dir / ("round" + std::to_string(round) + ".log");
        ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, path, "", 60), 0);
        std::vector<std::thread> threads;
        for (int id = 0; id < 4; ++id)
            threads.emplace_back(writer, id);
        for (std::thread& t : threads)
            t.join();
        Logger::Destroy();
        std::set<std::string> seen;
        size_t lines = 0, files = 0;
        for (int n = -1; n < 60; ++n) {
            const std::string name = n < 0 ? path : path + "_" + std::to_string(n);
            if (!testsupport::exists(name))
                continue;
            ++files;
            std::istringstream in(testsupport::readFile(name));
            for (std::string line; std::getline(in, line); ++lines)
                seen.insert(line.substr(line.find("): ") + 3, 7));
            std::remove(name.c_str());
        }
        EXPECT_GT(files, 40u);
        EXPECT_EQ(lines, 12000u) << "round " << round;
        EXPECT_EQ(seen.size(), 12000u) << "round " << round;
    }
}

} // namespace
