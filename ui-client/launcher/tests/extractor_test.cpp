#include <QCoreApplication>
#include <QThread>
#include <gtest/gtest.h>
#include <regex>
#include <set>
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
        std::thread([&] { rc = Extractor{dest.c_str(), src.c_str()}.Extract(); }).join();
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

// Whatever a package holds, it may write only strictly below dest. Each case unpacks into a
// fresh, empty dest beside a watched folder whose names, contents and modes must not change;
// links in the packages point at it ("watched" from dest's parent, "../watched" from inside).
struct ContainmentCase {
    std::string name;
    ArchiveBuilder::Format format;
    ArchiveBuilder package;
    std::string logged; // empty: the package is sound and unpacks to `unpacked`
    Tree unpacked;
    std::string text = ""; // a package written as it stands (mtree), instead of `package`
};

struct ContainmentTest : ExtractorTest, ::testing::WithParamInterface<ContainmentCase> {
    void SetUp() override {
        ExtractorTest::SetUp();
        ASSERT_TRUE(writeFile(tmp / "watched/key", "private") && writeFile(tmp / "watched/sub/pub", "public"));
        ASSERT_EQ(0, chmod((tmp / "watched/key").c_str(), 0600));
        ASSERT_EQ(0, chmod((tmp / "watched/sub").c_str(), 0700));
        ASSERT_EQ(0, chmod((tmp / "watched").c_str(), 0750));
        ASSERT_EQ(0, mkdir((tmp / "dest").c_str(), 0755));
        ASSERT_EQ(0, chmod((tmp / "dest").c_str(), 0755));
    }
    // The names at the top of the scratch folder, where a replaced dest would send entries.
    std::set<std::string> Top() {
        std::set<std::string> top;
        for (const auto& [rel, about] : snapshot(tmp.path()))
            if (rel.find('/') == std::string::npos)
                top.insert(rel + (about == "/" ? "/" : ""));
        return top;
    }
};
void PrintTo(const ContainmentCase& c, std::ostream* os) {
    *os << c.name;
}

TEST_P(ContainmentTest, WritesOnlyStrictlyBelowDest) {
    const ContainmentCase& c = GetParam();
    ASSERT_TRUE(c.text.empty() ? c.package.write(tmp / "pkg", c.format) : writeFile(tmp / "pkg", c.text));
    const Tree watched = snapshotWithModes(tmp / "watched");
    const auto top = Top();
    const int rc = Extract(tmp / "pkg", tmp / "dest");
    struct stat st;
    ASSERT_EQ(0, lstat((tmp / "dest").c_str(), &st));
    EXPECT_TRUE(S_ISDIR(st.st_mode) && (st.st_mode & 07777) == 0755) << std::oct << st.st_mode;
    EXPECT_EQ(watched, snapshotWithModes(tmp / "watched"));
    EXPECT_EQ(top, Top());
    if (c.logged.empty()) {
        EXPECT_EQ(rc, 0);
        EXPECT_EQ(snapshot(tmp / "dest"), c.unpacked);
        return;
    }
    EXPECT_EQ(rc, -1);
    const std::string log = std::regex_replace(readFile(tmp / "log"), std::regex("\\(\\d+\\)"), "");
    EXPECT_NE(log.find("[ERROR] extractor: " + c.logged), std::string::npos) << log;
    EXPECT_EQ(log.find("extractor: archive_read_extract2 failed"), std::string::npos) << log;
}

ContainmentCase Refused(std::string name, ArchiveBuilder::Format format, ArchiveBuilder package, std::string logged) {
    return {std::move(name), format, std::move(package), std::move(logged) + "\n", {}, ""};
}
ContainmentCase Written(std::string name, ArchiveBuilder::Format format, ArchiveBuilder package, Tree unpacked) {
    return {std::move(name), format, std::move(package), "", std::move(unpacked), ""};
}
using B = ArchiveBuilder;
const std::string kReplaces = "Entry would replace the destination folder: ";
const std::string kNoName = "Entry has an empty name: ''";
const std::string kLinkToLink = "Hard link to a symbolic link: 'h'";
std::string Name(const ::testing::TestParamInfo<ContainmentCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    NamesOfDestItself, ContainmentTest,
    ::testing::Values(
        Refused("TarLinkDot", B::Tar, B().symlink(".", "watched").file("x", "x"), kReplaces + "'.'"),
        Refused("TarLinkDotSlash", B::Tar, B().symlink("./", "watched").file("x", "x"), kReplaces + "'./'"),
        Refused("PaxLinkSlashes", B::Pax, B().symlink("//", "watched").file("x", "x"), kReplaces + "'//'"),
        Refused("TarFileDotSlashDot", B::Tar, B().file("./.", "x"), kReplaces + "'./.'"),
        Refused("TarFileEmpty", B::Tar, B().file("", "x"), kNoName),
        Refused("PaxFolderEmpty", B::Pax, B().dir(""), kNoName),
        Refused("ZipFileDot", B::Zip, B().file(".", "x"), kReplaces + "'.'"),
        Refused("ZipLinkDot", B::Zip, B().symlink(".", "watched").file("x", "x"), kReplaces + "'.'"),
        // A GNU static library: its symbol table is named "/", its long-name table "//".
        Refused("ArSymbolTable", B::Ar, B().file("/", std::string(4, '\0')).file("a.o", "o"), kReplaces + "'/'"),
        Refused("ArLongNameTable", B::Ar, B().file("//", "a-long-member-name.o/\n").file("a.o", "o"),
                kReplaces + "'//'")),
    Name);

INSTANTIATE_TEST_SUITE_P(
    LinksAndOrder, ContainmentTest,
    ::testing::Values(
        // With data, the writer applied the entry's mode through the link: the key became 0644.
        Refused("PaxHardLinkWithDataToLink", B::Pax, B().symlink("s", "../watched/key").hardlink("h", "s", "data"),
                kLinkToLink),
        Refused("TarHardLinkToLink", B::Tar, B().symlink("s", "../watched/key").hardlink("h", "s"), kLinkToLink),
        Refused("TarHardLinkToLinkedFolder", B::Tar, B().symlink("s", "../watched/sub").hardlink("h", "s/"),
                kLinkToLink),
        // A link where a file or a folder of the package goes is replaced, never followed.
        Written("TarFolderOverLink", B::Tar, B().symlink("lnk", "../watched").dir("lnk/").file("lnk/f", "in"),
                {{"lnk", "/"}, {"lnk/f", "in"}}),
        Written("ZipFolderOverLinkWithDot", B::Zip, B().symlink("lnk", "../watched").dir("lnk/./", 0700),
                {{"lnk", "/"}}),
        Written("PaxFileOverLink", B::Pax, B().symlink("key", "../watched/key").file("key", "mine"), {{"key", "mine"}}),
        // `tar -C client -cf pkg .` starts with "./"; its mode must not reach dest.
        Written("TarFolderDotFirst", B::Tar, B().dir("./", 0500).file("./a", "x").dir(".", 0), {{"a", "x"}}),
        Written("ZipFolderSlash", B::Zip, B().dir("/", 0700).file("a", "x"), {{"a", "x"}}),
        // The writer makes a link of any entry with a link target; its mode must not go through.
        ContainmentCase{"MtreeFileWithLinkTarget",
                        B::Tar,
                        B(),
                        "",
                        {{"l", "-> ../watched/key"}},
                        "#mtree\nl type=file mode=0644 link=../watched/key\n"}),
    Name);

// Without the caller's folder, a "./" entry makes dest: with a usable mode, not the package's.
TEST_F(ExtractorTest, FolderEntryThatMakesDestGivesItTheModeOfAnyFolderOnTheWay) {
    ASSERT_TRUE(ArchiveBuilder().dir("./", 0).file("a", "x").write(tmp / "pkg", ArchiveBuilder::Tar));
    ASSERT_EQ(0, Extract(tmp / "pkg", tmp / "made/dest"));
    struct stat made, dest;
    ASSERT_TRUE(stat((tmp / "made").c_str(), &made) == 0 && stat((tmp / "made/dest").c_str(), &dest) == 0);
    EXPECT_EQ(made.st_mode, dest.st_mode);
    EXPECT_EQ(readFile(tmp / "made/dest/a"), "x");
}
