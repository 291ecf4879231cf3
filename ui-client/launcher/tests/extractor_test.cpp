#include <QCoreApplication>
#include <QThread>
#include <archive.h>
#include <archive_entry.h>
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
using B = ArchiveBuilder;

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
    // The log without the source line numbers, which may move.
    std::string Log() const { return std::regex_replace(readFile(tmp / "log"), std::regex("\\(\\d+\\)"), ""); }
    int Extract(const std::string& src, const std::string& dest) {
        int rc = 1;
        reports.clear();
        std::thread([&] { rc = Extractor{dest.c_str(), src.c_str(), {}}.Extract(); }).join();
        QCoreApplication::processEvents();
        return rc;
    }

    TempDir tmp;
    QObject rx;
    std::vector<std::pair<int, int>> reports;
    QStringList labels;
};

struct FormatTest : ExtractorTest, ::testing::WithParamInterface<B::Format> {};

TEST_P(FormatTest, ReportsEachEntryOnceAndReplacesWhatIsInTheWay) {
    B b; // The link dangles: snapshot() would key a live link by its target's path.
    b.dir("d").file("d/a", "alpha").symlink("d/ln", "gone").file("/abs", "new");
    ASSERT_TRUE(b.write(tmp / "pkg", GetParam()) && writeFile(tmp / "dest/abs", "old"));
    EXPECT_EQ(Extract(tmp / "pkg", tmp / "dest"), 0);
    EXPECT_EQ(reports, (decltype(reports){{4, 1}, {4, 2}, {4, 3}, {4, 4}}));
    EXPECT_EQ(snapshot(tmp / "dest"), (Tree{{"d", "/"}, {"d/a", "alpha"}, {"d/ln", "-> gone"}, {"abs", "new"}}));
}

const char* const kFormatNames[] = {"Tar", "TarGz", "TarZstd", "Zip", "SevenZip"};
INSTANTIATE_TEST_SUITE_P(Extractor, FormatTest, ::testing::Values(B::Tar, B::TarGz, B::TarZstd, B::Zip, B::SevenZip),
                         [](const auto& info) { return std::string(kFormatNames[info.param]); });

// Paths in the scratch folder, empty for none given; `left` names what dest holds afterwards.
struct BadInputCase {
    std::string name, src, dest, logged;
    size_t reports;
    std::set<std::string> left;
};
void PrintTo(const BadInputCase& c, std::ostream* os) {
    *os << c.name;
}

struct BadInputTest : ExtractorTest, ::testing::WithParamInterface<BadInputCase> {
    void SetUp() override {
        ExtractorTest::SetUp();
        ASSERT_TRUE(B().file("ok", "ok").file("a/../../b", "x").file("c", "c").write(tmp / "dots"));
        ASSERT_TRUE(B().file("big", std::string(99999, 'x')).write(tmp / "t", B::Tar));
        ASSERT_TRUE(writeFile(tmp / "cut", readFile(tmp / "t").substr(0, 40000)) && writeFile(tmp / "text", "words"));
        ASSERT_TRUE(B().write(tmp / "empty", B::Tar));
        ASSERT_TRUE(B().symlink("l", "..").file("l/escaped", "x").write(tmp / "out", B::Tar));
    }
    std::string Path(const std::string& name) const { return name.empty() ? "" : tmp / name; }
};

TEST_P(BadInputTest, FailsWithItsLogLineAndKeepsWhatCameBefore) {
    const BadInputCase& c = GetParam();
    EXPECT_EQ(Extract(Path(c.src), Path(c.dest)), -1);
    EXPECT_NE(Log().find("[ERROR] extractor: " + c.logged), std::string::npos) << Log();
    EXPECT_EQ(reports.size(), c.reports);
    std::set<std::string> left;
    for (const auto& entry : snapshot(tmp / "dest"))
        left.insert(entry.first);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(labels, c.src.empty() || c.dest.empty() ? QStringList()
                                                      : QStringList(QStringLiteral("Velmora is initializing...")));
}

const std::string kExtract = "archive_read_extract2 failed: '";
const std::string kCount = "Failed to calculate total file numbers, ret: ";
std::string BadInputName(const ::testing::TestParamInfo<BadInputCase>& info) {
    return info.param.name;
}
const BadInputCase kBadInputs[] = {
    {"DotDotPath", "dots", "dest", kExtract + "Path contains '..''\n", 1, {"ok"}},
    {"TruncatedData", "cut", "dest", kExtract + "Truncated", 0, {"big"}},
    {"WriteThroughLink", "out", "dest", kExtract + "Cannot extract through a symbolic link'\n", 1, {"l"}},
    {"NoEntries", "empty", "dest", kCount + "0\n", 0, {}},
    {"NotAnArchive", "text", "dest", kCount + "-1\n", 0, {}},
    {"MissingPackage", "nope", "dest", "archive_read_open_filename failed: 'Failed to open", 0, {}},
    {"NoSource", "", "dest", "Invalid Argument\n", 0, {}},
    {"NoDestination", "dots", "", "Invalid Argument\n", 0, {}},
};
INSTANTIATE_TEST_SUITE_P(Extractor, BadInputTest, ::testing::ValuesIn(kBadInputs), BadInputName);

TEST_F(ExtractorTest, HardLinksJoinTheirEntryInsideDest) {
    ASSERT_TRUE(B().dir("d").file("d/a", "same").hardlink("b", "d/a").write(tmp / "pkg", B::Tar));
    ASSERT_EQ(Extract(tmp / "pkg", tmp / "dest"), 0);
    struct stat a, b;
    ASSERT_TRUE(stat((tmp / "dest/d/a").c_str(), &a) == 0 && stat((tmp / "dest/b").c_str(), &b) == 0);
    EXPECT_TRUE(a.st_ino == b.st_ino && readFile(tmp / "dest/b") == "same");
}

// Each case unpacks into a fresh, empty dest beside a watched folder that must not change;
// links in the packages point at it ("watched" from dest's parent, "../watched" from inside).
struct ContainmentCase {
    std::string name;
    B::Format format;
    B package;
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
    // Where a replaced dest would send entries.
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
    EXPECT_NE(Log().find("[ERROR] extractor: " + c.logged), std::string::npos) << Log();
    EXPECT_EQ(Log().find("extractor: archive_read_extract2 failed"), std::string::npos) << Log();
}

ContainmentCase Refused(std::string name, B::Format format, B package, std::string logged) {
    return {std::move(name), format, std::move(package), std::move(logged) + "\n", {}, ""};
}
ContainmentCase Written(std::string name, B::Format format, B package, Tree unpacked) {
    return {std::move(name), format, std::move(package), "", std::move(unpacked), ""};
}
const std::string kReplaces = "Entry would replace the destination folder: ";
const std::string kNoName = "Entry has an empty name: ''";
const std::string kLinkToLink = "Hard link to a symbolic link: 'h'";
const std::string kMtreeLink = "#mtree\nl type=file mode=0644 link=../watched/key\n";
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
        Refused("PaxFolderEmpty", B::Pax, B().dir(""), kNoName),
        Refused("ZipFileDot", B::Zip, B().file(".", "x"), kReplaces + "'.'"),
        // A GNU static library: its symbol table is named "/".
        Refused("ArSymbolTable", B::Ar, B().file("/", std::string(4, '\0')).file("a.o", "o"), kReplaces + "'/'")),
    Name);

INSTANTIATE_TEST_SUITE_P(
    LinksAndOrder, ContainmentTest,
    ::testing::Values(
        // With data, the writer applied the entry's mode through the link: the key became 0644.
        Refused("PaxHardLinkWithDataToLink", B::Pax, B().symlink("s", "../watched/key").hardlink("h", "s", "data"),
                kLinkToLink),
        Refused("TarHardLinkToLinkedFolder", B::Tar, B().symlink("s", "../watched/sub").hardlink("h", "s/"),
                kLinkToLink),
        Written("TarFolderOverLink", B::Tar, B().symlink("lnk", "../watched").dir("lnk/").file("lnk/f", "in"),
                {{"lnk", "/"}, {"lnk/f", "in"}}),
        Written("ZipFolderOverLinkWithDot", B::Zip, B().symlink("lnk", "../watched").dir("lnk/./", 0700),
                {{"lnk", "/"}}),
        Written("PaxFileOverLink", B::Pax, B().symlink("key", "../watched/key").file("key", "mine"), {{"key", "mine"}}),
        // `tar -C client -cf pkg .` starts with "./"; its mode must not reach dest.
        Written("TarFolderDotFirst", B::Tar, B().dir("./", 0500).file("./a", "x").dir(".", 0), {{"a", "x"}}),
        Written("ZipFolderSlash", B::Zip, B().dir("/", 0700).file("a", "x"), {{"a", "x"}}),
        // The writer makes a link of any entry with a link target; its mode must not go through.
        ContainmentCase{"MtreeFileWithLinkTarget", B::Tar, B(), "", {{"l", "-> ../watched/key"}}, kMtreeLink}),
    Name);

TEST_F(ExtractorTest, FolderEntryThatMakesDestGivesItTheModeOfAnyFolderOnTheWay) {
    ASSERT_TRUE(B().dir("./", 0).file("a", "x").write(tmp / "pkg", B::Tar));
    ASSERT_EQ(0, Extract(tmp / "pkg", tmp / "made/dest"));
    struct stat made, dest;
    ASSERT_TRUE(stat((tmp / "made").c_str(), &made) == 0 && stat((tmp / "made/dest").c_str(), &dest) == 0);
    EXPECT_EQ(made.st_mode, dest.st_mode);
    EXPECT_EQ(readFile(tmp / "made/dest/a"), "x");
}

TEST_F(ExtractorTest, ListPrintsEveryEntryPathInOrderAndStopsQuietlyAtDamage) {
    ASSERT_TRUE(B().dir("d").file("d/a", "alpha").symlink("l", "d/a").write(tmp / "pkg"));
    ASSERT_TRUE(B().file("a", std::string(2000, 'a')).file("b", "b").write(tmp / "t", B::Tar));
    ASSERT_TRUE(writeFile(tmp / "cut", readFile(tmp / "t").substr(0, 1536)));
    const auto list = [&](const std::string& dest, const std::string& src, const std::string& printed) {
        testing::internal::CaptureStdout();
        const int rc = Extractor{dest.c_str(), src.c_str(), {}}.List();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), printed) << src;
        return rc;
    };
    EXPECT_EQ(0, list(tmp / "dest", tmp / "pkg", "d/\nd/a\nl\n"));
    EXPECT_EQ(0, list(tmp / "dest", tmp / "cut", "a\n"));
    EXPECT_EQ(-1, list(tmp / "dest", tmp / "missing", ""));
    EXPECT_EQ(-1, list("", tmp / "pkg", ""));
    EXPECT_NE(Log().find("archive_read_open_filename failed: 'Failed to open"), std::string::npos) << Log();
    EXPECT_NE(Log().find("Invalid argument\n"), std::string::npos) << Log();
}

// copy_data moves one entry's data blocks, at their offsets, from a reader to a disk writer.
TEST_F(ExtractorTest, CopyDataWritesTheCurrentEntryWholeOrSaysWhichSideFailed) {
    const std::string big(300000, 'b');
    ASSERT_TRUE(B().file("f", big).write(tmp / "t", B::Tar));
    ASSERT_TRUE(writeFile(tmp / "cut", readFile(tmp / "t").substr(0, 100000)));
    const auto copy = [&](const std::string& src, const std::string& to) {
        archive* reader = archive_read_new();
        archive_read_support_format_all(reader);
        archive* writer = archive_write_disk_new();
        archive_entry* entry = nullptr;
        int rc = 1;
        if (archive_read_open_filename(reader, src.c_str(), 10240) == ARCHIVE_OK &&
            archive_read_next_header(reader, &entry) == ARCHIVE_OK) {
            archive_entry_set_pathname(entry, to.c_str());
            if (archive_write_header(writer, entry) == ARCHIVE_OK)
                rc = Extractor{}.copy_data(reader, writer);
        }
        archive_write_free(writer);
        archive_read_free(reader);
        return rc;
    };
    EXPECT_EQ(0, copy(tmp / "t", tmp / "whole"));
    EXPECT_EQ(readFile(tmp / "whole"), big);
    EXPECT_EQ(-1, copy(tmp / "cut", tmp / "part"));
    EXPECT_EQ(-1, Extractor{}.copy_data(nullptr, nullptr));
    EXPECT_NE(Log().find("[ERROR] extractor: archive_read_data_block failed: 'Truncated"), std::string::npos) << Log();
    EXPECT_NE(Log().find("[ERROR] extractor: Invalid Argument\n"), std::string::npos) << Log();
}
