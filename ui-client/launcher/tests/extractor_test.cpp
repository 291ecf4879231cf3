#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <regex>
#include <sys/stat.h>

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

struct ExtractorTest : ::testing::Test {
    void SetUp() override {
        StrTable::InitStrTable();
        ASSERT_TRUE(Logger::Initialize(Logger::TYPE_FILE, (tmp / "log").c_str(), "", 50) == 0);
        QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateProgress, &rx,
                         [this](int total, int current) { reports.emplace_back(total, current); });
        QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateDialogText, &rx,
                         [this](const QString& text) { labels << text; });
    }
    void TearDown() override { Logger::Destroy(); }
    // An error line, matched without the source line numbers, which may move.
    bool Logged(const std::string& text) const {
        const std::string log = std::regex_replace(readFile(tmp / "log"), std::regex("\\(\\d+\\)"), "");
        return log.find("[ERROR] extractor: " + text) != std::string::npos;
    }
    int Extract(const std::string& src, const std::string& dest) { return Extractor{dest, src, {}}.Extract(); }

    TempDir tmp;
    QObject rx; // ends the connections with the test
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

// The formats a bundle ships (plain tar is in every other test) and 7-Zip, read by seeking.
const char* const kFormatNames[] = {"Tar", "TarGz", "TarZstd", "Zip", "SevenZip"};
INSTANTIATE_TEST_SUITE_P(Extractor, FormatTest, ::testing::Values(B::TarGz, B::TarZstd, B::Zip, B::SevenZip),
                         [](const auto& info) { return std::string(kFormatNames[info.param]); });

// Nothing reaches the dialog before both paths are given.
TEST_F(ExtractorTest, FailsWithoutBothPathsOrAPackageThatOpens) {
    EXPECT_EQ(-1, Extract("", tmp / "dest"));
    EXPECT_EQ(-1, Extract(tmp / "nope", ""));
    EXPECT_TRUE(Logged("Invalid Argument\n"));
    EXPECT_EQ(-1, Extract(tmp / "nope", tmp / "dest"));
    EXPECT_TRUE(Logged("archive_read_open_filename failed: 'Failed to open")) << readFile(tmp / "log");
    EXPECT_EQ(labels, QStringList("Velmora is initializing..."));
}

// Each case unpacks into a fresh, empty dest beside a watched folder that must not change, in
// modes no entry gives; links in the packages point at it ("../watched" from inside dest).
struct ContainmentCase {
    std::string name;
    B::Format format;
    B package;
    std::string logged;    // empty: the package is sound
    Tree left = {};        // what dest holds afterwards
    std::string text = ""; // the package as it stands (mtree), instead of `package`
    friend void PrintTo(const ContainmentCase& c, std::ostream* os) { *os << c.name; }
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
};

TEST_P(ContainmentTest, WritesOnlyStrictlyBelowDest) {
    const ContainmentCase& c = GetParam();
    ASSERT_TRUE(c.package.write(tmp / "pkg", c.format));
    if (!c.text.empty()) {
        ASSERT_TRUE(writeFile(tmp / "pkg", c.text));
    }
    const Tree watched = snapshotWithModes(tmp / "watched");
    EXPECT_EQ(Extract(tmp / "pkg", tmp / "dest"), c.logged.empty() ? 0 : -1);
    struct stat st;
    ASSERT_EQ(0, lstat((tmp / "dest").c_str(), &st));
    EXPECT_TRUE(S_ISDIR(st.st_mode) && (st.st_mode & 07777) == 0755) << std::oct << st.st_mode;
    EXPECT_EQ(watched, snapshotWithModes(tmp / "watched"));
    EXPECT_EQ(snapshot(tmp / "dest"), c.left);
    EXPECT_EQ(Logged(c.logged), !c.logged.empty()) << readFile(tmp / "log"); // sound: no error at all
}

const std::string kReplaces = "Entry would replace the destination folder: ";
const std::string kThroughLink = "archive_read_extract2 failed: 'Cannot extract through a symbolic link'";
const std::string kLinkToLink = "Hard link to a symbolic link: 'h'";
const Tree kLinkToWatched = {{"s", "-> ../watched"}};
ContainmentCase Row(std::string name, B::Format format, B package, std::string logged, Tree left = {},
                    std::string text = "") {
    return {std::move(name), format, std::move(package), std::move(logged), std::move(left), std::move(text)};
}
const ContainmentCase kContainment[] = {
    Row("NoEntries", B::Tar, B(), "Failed to calculate total file numbers, ret: 0"), // so no package
    // Entries naming dest itself: "." and "" elements drop out of a name.
    Row("TarLinkDot", B::Tar, B().symlink(".", "watched").file("x", "x"), kReplaces + "'.'"),
    Row("PaxLinkSlashes", B::Pax, B().symlink("//", "watched").file("x", "x"), kReplaces + "'//'"),
    Row("PaxFolderEmpty", B::Pax, B().dir(""), "Entry has an empty name: ''"),
    // A GNU static library: its symbol table is named "/".
    Row("ArSymbolTable", B::Ar, B().file("/", std::string(4, '\0')).file("a.o", "o"), kReplaces + "'/'"),
    // `tar -C client -cf pkg .` starts with "./"; its mode must not reach dest.
    Row("TarFolderDotFirst", B::Tar, B().dir("./", 0500).file("./a", "x").dir(".", 0), "", {{"a", "x"}}),
    // The first refusal ends the unpack; what came before stays.
    Row("TarDotDot", B::Tar, B().file("ok", "ok").file("a/../../b", "x").file("c", "c"),
        "archive_read_extract2 failed: 'Path contains '..''", {{"ok", "ok"}}),
    // Through a link out of dest, by an entry's name or by a hard link's target.
    Row("TarFileThroughLink", B::Tar, B().symlink("s", "../watched").file("s/key", "x"), kThroughLink, kLinkToWatched),
    Row("TarHardLinkThroughLink", B::Tar, B().symlink("s", "../watched").hardlink("h", "s/key"), kThroughLink,
        kLinkToWatched),
    // The writer would apply the entry's mode through the link.
    Row("TarHardLinkToLinkedFolder", B::Tar, B().symlink("s", "../watched/sub").hardlink("h", "s/"), kLinkToLink,
        {{"s", "-> ../watched/sub"}}),
    Row("TarHardLinkInsideDest", B::Tar, B().dir("d").file("d/a", "same").hardlink("b", "d/a"), "",
        {{"d", "/"}, {"d/a", "same"}, {"b", "same"}}),
    // A link in the way of a folder or a file is replaced, never followed.
    Row("TarFolderOverLink", B::Tar, B().symlink("lnk", "../watched").dir("lnk/./", 0700).file("lnk/f", "in"), "",
        {{"lnk", "/"}, {"lnk/f", "in"}}),
    Row("PaxFileOverLink", B::Pax, B().symlink("key", "../watched/key").file("key", "mine"), "", {{"key", "mine"}}),
    // The writer makes a link of any entry with a link target; its mode must not go through.
    Row("MtreeFileWithLinkTarget", B::Tar, B(), "", {{"l", "-> ../watched/key"}},
        "#mtree\nl type=file mode=0644 link=../watched/key\n"),
};
INSTANTIATE_TEST_SUITE_P(Extractor, ContainmentTest, ::testing::ValuesIn(kContainment),
                         [](const auto& info) { return info.param.name; });

TEST_F(ExtractorTest, FolderEntryThatMakesDestGivesItTheModeOfAnyFolderOnTheWay) {
    ASSERT_TRUE(B().dir("./", 0).file("a", "x").write(tmp / "pkg", B::Tar));
    ASSERT_EQ(0, Extract(tmp / "pkg", tmp / "made/dest"));
    struct stat made, dest;
    ASSERT_TRUE(stat((tmp / "made").c_str(), &made) == 0 && stat((tmp / "made/dest").c_str(), &dest) == 0);
    EXPECT_EQ(made.st_mode, dest.st_mode);
}

TEST_F(ExtractorTest, ListPrintsEveryEntryPathInOrder) {
    ASSERT_TRUE(B().dir("d").file("d/a", "alpha").symlink("l", "d/a").write(tmp / "pkg"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, (Extractor{tmp / "dest", tmp / "pkg", {}}.List()));
    EXPECT_EQ(-1, (Extractor{"", tmp / "pkg", {}}.List()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "d/\nd/a\nl\n");
}

TEST_F(ExtractorTest, ACutPackageListsQuietlyUpToTheCutButFailsToUnpackSayingWhy) {
    ASSERT_TRUE(B().file("a", std::string(2000, 'a')).file("b", "b").write(tmp / "t", B::Tar));
    ASSERT_TRUE(writeFile(tmp / "cut", readFile(tmp / "t").substr(0, 1536)));
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, (Extractor{tmp / "dest", tmp / "cut", {}}.List()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a\n");
    EXPECT_EQ(-1, Extract(tmp / "cut", tmp / "dest"));
    // The writer copies the data and sees nothing wrong: the reason is on the read side.
    EXPECT_TRUE(Logged("archive_read_extract2 failed: 'Truncated")) << readFile(tmp / "log");
    EXPECT_TRUE(reports.empty()); // the entry that failed is not done
}

// copy_data moves one entry's data blocks, at their offsets, from a reader to a disk writer.
TEST_F(ExtractorTest, CopyDataWritesTheCurrentEntryWholeOrSaysWhichSideFailed) {
    const std::string big(300000, 'b');
    ASSERT_TRUE(B().file("f", big).write(tmp / "t", B::Tar));
    ASSERT_TRUE(writeFile(tmp / "cut", readFile(tmp / "t").substr(0, 100000)));
    const auto copy = [&](const std::string& src, const std::string& to) {
        archive* reader = archive_read_new();
        archive* writer = archive_write_disk_new();
        archive_entry* entry = nullptr;
        archive_read_support_format_tar(reader);
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
    EXPECT_TRUE(Logged("archive_read_data_block failed: 'Truncated")) << readFile(tmp / "log");
    EXPECT_EQ(-1, Extractor{}.copy_data(nullptr, nullptr));
}

// What the space check before an upgrade relies on: whole blocks per file and folder, no inode
// for a hard link, no block for a short link target; and the unpack then reads the package only
// once more, whatever happened to it since (here: replaced by a larger one).
TEST_F(ExtractorTest, MeasuresWholeBlocksAndInodesAndUnpacksWithThatCount) {
    B b;
    b.dir("d")
        .file("d/one", "x")
        .file("d/big", std::string(4097, 'b'))
        .hardlink("d/same", "d/one")
        .symlink("d/ln", "one");
    ASSERT_TRUE(b.write(tmp / "pkg", B::Tar));
    Extractor extractor{tmp / "dest", tmp / "pkg", {}};
    PackageFootprint footprint;
    ASSERT_EQ(5, extractor.Measure(4096, footprint));
    EXPECT_EQ(5, footprint.entries);
    EXPECT_EQ(4096u + 4096u + 8192u, footprint.bytes);
    EXPECT_EQ(4u, footprint.inodes);

    B larger = b;
    larger.file("d/late", "z");
    ASSERT_TRUE(larger.write(tmp / "pkg", B::Tar));
    EXPECT_EQ(-1, extractor.Extract()); // six entries where five were counted: refused at the sixth
    EXPECT_EQ(reports.back(), std::make_pair(5, 5));
    EXPECT_TRUE(Logged("The package holds more entries than the 5 counted\n"));
}
