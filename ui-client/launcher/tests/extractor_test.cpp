#include <QCoreApplication>
#include <QThread>
#include <gtest/gtest.h>
#include <regex>
#include <sys/stat.h>
#include <thread>

#include "archive_builder.h"
#include "extractor.h"
#include "file_tree.h"
#include "log.h"
#include "notify_adapter.h"
#include "str_table.h"
#include "temp_dir.h"

using namespace testsupport;
using Tree = std::map<std::string, std::string>;

// Extract runs on a worker thread and the receiver on this one: the adapter's signals come as queued calls.
struct ExtractorTest : ::testing::Test {
    void SetUp() override {
        static int argc = 0;
        static QCoreApplication* app = new QCoreApplication(argc, nullptr);
        StrTable::InitStrTable();
        ASSERT_TRUE(app && Logger::Initialize(Logger::TYPE_FILE, (tmp / "log").c_str(), "", 50) == 0);
        QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateProgress, &rx, [this](int t, int c) {
            reports.emplace_back(QThread::currentThread() == rx.thread() ? t : -1, c);
        });
        QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateDialogText, &rx,
                         [this](const QString& text) { labels << text; });
    }
    void TearDown() override { Logger::Destroy(); }
    int Extract(const std::string& src, const std::string& dest) {
        int rc = 1;
        std::thread([&] { rc = Extractor{dest.c_str(), src.c_str(), {}}.Extract(); }).join();
        return reports.clear(), QCoreApplication::processEvents(), rc;
    }

    TempDir tmp;
    QObject rx;
    std::vector<std::pair<int, int>> reports;
    QStringList labels;
};

TEST_F(ExtractorTest, ReportsEachEntryOnceAndReplacesWhatIsInTheWayInEveryFormat) {
    ArchiveBuilder b; // The link dangles: snapshot() would key a live link by its target's path.
    b.dir("d").file("d/a", "alpha").symlink("d/ln", "gone").file("/abs", "new");
    for (auto format : {ArchiveBuilder::Tar, ArchiveBuilder::TarGz, ArchiveBuilder::Zip, ArchiveBuilder::SevenZip}) {
        const std::string dest = tmp / std::to_string(format);
        ASSERT_TRUE(b.write(tmp / "pkg", format) && writeFile(dest + "/abs", "old"));
        EXPECT_EQ(Extract(tmp / "pkg", dest), 0);
        EXPECT_EQ(reports, (decltype(reports){{4, 1}, {4, 2}, {4, 3}, {4, 4}})) << format;
        EXPECT_EQ(snapshot(dest), (Tree{{"d", "/"}, {"d/a", "alpha"}, {"d/ln", "-> gone"}, {"abs", "new"}}));
    }
}

TEST_F(ExtractorTest, HostileBrokenOrMissingInputFailsWithItsLogLineAndStaysInDest) {
    ASSERT_TRUE(ArchiveBuilder().file("ok", "ok").file("a/../../b", "x").file("c", "c").write(tmp / "dots"));
    ASSERT_TRUE(ArchiveBuilder().file("big", std::string(99999, 'x')).write(tmp / "t", ArchiveBuilder::Tar));
    ASSERT_TRUE(writeFile(tmp / "cut", readFile(tmp / "t").substr(0, 40000)) && writeFile(tmp / "text", "words"));
    ASSERT_TRUE(ArchiveBuilder().write(tmp / "empty", ArchiveBuilder::Tar));
    ASSERT_TRUE(ArchiveBuilder().symlink("l", "..").file("l/escaped", "x").write(tmp / "out", ArchiveBuilder::Tar));
    const std::vector<std::tuple<std::string, std::string, std::string, size_t>> cases = {
        {tmp / "dots", tmp / "in/dest", "archive_read_extract2 failed: 'Path contains '..''\n", 1},
        {tmp / "cut", tmp / "cut_out", "archive_read_extract2 failed: 'Truncated", 0},
        {tmp / "out", tmp / "in/ln", "archive_read_extract2 failed: 'Cannot extract through a symbolic link'\n", 1},
        {tmp / "empty", tmp / "in/o", "Failed to calculate total file numbers, ret: 0\n", 0},
        {tmp / "text", tmp / "in/o", "Failed to calculate total file numbers, ret: -1\n", 0},
        {tmp / "nope", tmp / "in/o", "archive_read_open_filename failed: 'Failed to open", 0},
        {"", tmp / "in/o", "Invalid Argument\n", 0},
        {tmp / "dots", "", "Invalid Argument\n", 0}};
    for (const auto& [src, dest, logged, n] : cases) {
        EXPECT_EQ(Extract(src, dest), -1) << logged;
        const std::string log = std::regex_replace(readFile(tmp / "log"), std::regex("\\(\\d+\\)"), "");
        EXPECT_NE(log.find("[ERROR] extractor: " + logged), std::string::npos) << logged << log;
        EXPECT_EQ(reports.size(), n) << logged;
    }
    EXPECT_EQ(snapshot(tmp / "in"), (Tree{{"dest", "/"}, {"dest/ok", "ok"}, {"ln", "/"}, {"ln/l", "-> .."}}));
    EXPECT_TRUE(labels.size() == 6 && labels.count(QStringLiteral("Velmora is initializing...")) == 6);
}

// A hard link names another entry of the package, never a file of the working folder.
TEST_F(ExtractorTest, HardLinksJoinTheirEntryInsideDest) {
    ASSERT_TRUE(
        ArchiveBuilder().dir("d").file("d/a", "same").hardlink("b", "d/a").write(tmp / "pkg", ArchiveBuilder::Tar));
    ASSERT_EQ(Extract(tmp / "pkg", tmp / "dest"), 0);
    struct stat a, b;
    ASSERT_TRUE(stat((tmp / "dest/d/a").c_str(), &a) == 0 && stat((tmp / "dest/b").c_str(), &b) == 0);
    EXPECT_TRUE(a.st_ino == b.st_ino && readFile(tmp / "dest/b") == "same");
}
