#include <gtest/gtest.h>

#include <csignal>
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

// A log file that cannot be opened (its folder is a file) leaves standard error in use; the levels
// read before the open still hold. default_component names no component of its own.
TEST_F(LoggerTest, DebugFileRaisesOnlyTheComponentsItNamesAndAFailedOpenKeepsStandardError) {
    ASSERT_TRUE(testsupport::writeFile(dir / "good.debug", "thr_svc=7\ndefault_component=7\nthr_quiet=3\n"));
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_STDERR, "", "", 50), 0);
    EXPECT_EQ(Logger::Initialize(Logger::TYPE_FILE, dir / "good.debug/launcher.log", dir / "good.debug", 50), -1);
    testing::internal::CaptureStderr();
    Logger::LogMsg(Logger::LEVEL_DEBUG, "thr_svc", "[DEBUG] a(%d): svc %s\n", 1, "x");
    Logger::LogMsg(Logger::LEVEL_INFO, "thr_other", "[INFO] a(%d): other\n", 2);
    Logger::LogMsg(Logger::LEVEL_WARNING, "thr_other", "[WARNING] a(%d): other\n", 3);
    Logger::LogMsg(Logger::LEVEL_WARNING, "thr_quiet", "[WARNING] a(%d): quiet\n", 4);
    EXPECT_TRUE(std::regex_match(
        testing::internal::GetCapturedStderr(),
        std::regex(kStamp + R"(\[DEBUG\] a\(1\): svc x\n)" + kStamp + R"(\[WARNING\] a\(3\): other\n)")));
}

// A name from a package or the disk may hold line feeds and terminal escapes: each message stays
// one line, and bytes from 0x80 up (UTF-8) pass unchanged.
TEST_F(LoggerTest, ControlCharactersInAMessageAreEscapedSoItStaysOneLine) {
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, "", 50), 0);
    const std::string forged = "a\nNov 16 20:41:19 [ERROR] main(1): forged\t\r\x1b[2J\x7f\x01 R\xc3\xa9sum\xc3\xa9";
    Logger::LogMsg(Logger::LEVEL_ERROR, "esc", "[ERROR] a(%d): '%s'\n", 1, forged.c_str());
    Logger::LogMsg(Logger::LEVEL_ERROR, "esc", "[ERROR] a(%d): %s and no line feed", 2, "x\ny");
    Logger::LogMsg(Logger::LEVEL_ERROR, "esc", "[ERROR] a(%d): plain\n", 3);
    EXPECT_TRUE(std::regex_match(
        testsupport::readFile(log),
        std::regex(kStamp + R"(\[ERROR\] a\(1\): 'a\\nNov 16 20:41:19 \[ERROR\] main\(1\): forged\\t\\x0d\\x1b\[2J)" +
                   R"(\\x7f\\x01 )" + "R\xc3\xa9sum\xc3\xa9'\n" + kStamp +
                   R"(\[ERROR\] a\(2\): x\\ny and no line feed)" + kStamp + R"(\[ERROR\] a\(3\): plain\n)")))
        << testsupport::readFile(log);
}

// A full disk (here a file size limit) refuses a line half-way: the rest must follow, once, when
// space returns, so that the line that says why an upgrade failed is never lost.
TEST_F(LoggerTest, LineRefusedByAFullDiskIsWrittenWholeOnceSpaceReturns) {
    ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, "", 50), 0);
    const auto previous = signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &limit));
    const rlimit full = {20, limit.rlim_max};
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
    EXPECT_TRUE(
        std::regex_match(testsupport::readFile(log),
                         std::regex(kStamp + R"(\[ERROR\] a\(2\): the reason )" + reason + "\n" + kStamp +
                                    R"(\[ERROR\] a\(3\): rollback\n)" + kStamp + R"(\[ERROR\] a\(4\): after\n)")));
}

// A rotation closes the live file before it reopens it: a line another thread sends meanwhile must
// wait for the new file, neither dropped nor run into another. Whether a line falls into one of a
// round's 46 rotations is up to the scheduler, so the rounds repeat it (a dropping logger lost lines).
TEST_F(LoggerTest, ThreadsLoseNoLineWhileTheFileRotatesAndTwoOldFilesAreKept) {
    // 16-byte stamp + 4080 bytes of text: the 257th line of a file takes it past 1 MiB and stays in it.
    const std::string pad(4056, '.');
    auto writer = [&pad](int id) {
        for (int i = 0; i < 3000; ++i)
            Logger::LogMsg(Logger::LEVEL_ERROR, "rot", "[ERROR] rot(%d): %d %04d %s\n", 1, id, i, pad.c_str());
    };
    for (int round = 0; round < 10 && !HasFailure(); ++round) {
        // Bytes already in the file do not count: only this process's writes lead to a rotation.
        ASSERT_TRUE(testsupport::writeFile(log, "from an earlier run\n"));
        ASSERT_EQ(Logger::Initialize(Logger::TYPE_FILE, log, "", 3), 0);
        std::vector<std::thread> threads;
        for (int id = 0; id < 4; ++id)
            threads.emplace_back(writer, id);
        for (std::thread& t : threads)
            t.join();
        Logger::Destroy();
        // 12,000 lines fill 46 files of 257 and leave 178 in the live one; a lost line shifts them all.
        EXPECT_FALSE(testsupport::exists(log + "_2"));
        std::string sizes;
        std::set<std::string> whole;
        for (const std::string& name : {log, log + "_0", log + "_1"}) {
            const std::string text = testsupport::readFile(name);
            sizes += std::to_string(text.size()) + " ";
            std::istringstream in(text);
            for (std::string line; std::getline(in, line);)
                if (line.size() == 4095 && line.compare(16, 16, "[ERROR] rot(1): ") == 0)
                    whole.insert(line.substr(32, 6));
        }
        EXPECT_EQ(sizes, "729088 1052672 1052672 ") << "round " << round;
        EXPECT_EQ(whole.size(), 178u + 2 * 257) << "round " << round;
    }
}

} // namespace
