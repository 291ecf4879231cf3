#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

#include "archive_builder.h"
#include "extractor.h"
#include "file_tree.h"
#include "log_capture.h"
#include "notify_adapter.h"
#include "str_table.h"
#include "temp_dir.h"

using namespace testsupport;
using Tree = std::map<std::string, std::string>;
using B = ArchiveBuilder;

struct ExtractorTest : ::testing::Test {
    void SetUp() override {
        StrTable::InitStrTable();
        ASSERT_TRUE(log.Started());
        QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateProgress, &rx,
                         [this](int total, int current) { reports.emplace_back(total, current); });
        QObject::connect(Notify_Adapter::GetInstance(), &Notify_Adapter::sigUpdateDialogText, &rx,
                         [this](const QString& text) { labels << text; });
    }
    // An error line, matched without the source line numbers, which may move.
    bool Logged(const std::string& text) const {
        const std::string log = std::regex_replace(readFile(tmp / "log"), std::regex("\\(\\d+\\)"), "");
        return log.find("[ERROR] extractor: " + text) != std::string::npos;
    }
    int Extract(const std::string& src, const std::string& dest) { return Extractor{dest, src, {}}.Extract(); }

    TempDir tmp;
    LogCapture log{tmp / "log"};
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
        ASSERT_EQ(0, symlink("sub", (tmp / "watched/docs").c_str())); // as a user's ~/Documents may be
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
const std::string kDotDot = "archive_read_extract2 failed: 'Path contains '..''";
const std::string kNotAFile = "Entry is not a file, folder or link: ";
const Tree kLinkToWatched = {{"s", "-> ../watched"}};
// Folders whose joined path outgrows what lstat takes, so nothing on the way can be looked at.
const std::string kDeep = [] {
    std::string deep = std::string(250, 'd');
    for (int i = 0; i < 16; ++i)
        deep += "/" + std::string(250, 'd');
    return deep;
}();
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
    Row("TarDotDot", B::Tar, B().file("ok", "ok").file("a/../../b", "x").file("c", "c"), kDotDot, {{"ok", "ok"}}),
    // A link outside dest where a folder entry climbs to is left alone, not cleared as a link
    // inside would be.
    Row("TarFolderDotDotOntoLink", B::Tar, B().dir("../watched/docs/"), kDotDot),
    // A way too long to check is refused, not taken for one without links.
    Row("PaxWayTooLongToCheck", B::Pax, B().symlink(kDeep + "/l", "../watched/key").hardlink("h", kDeep + "/l"),
        "Cannot check '"),
    // Whoever runs the launcher, a client holds no FIFOs, sockets or device nodes.
    Row("MtreeFifo", B::Tar, B(), kNotAFile + "'p'", {}, "#mtree\np type=fifo mode=0666\n"),
    Row("MtreeCharDevice", B::Tar, B(), kNotAFile + "'c'", {}, "#mtree\nc type=char mode=0666 device=native,1,3\n"),
    Row("MtreeBlockDevice", B::Tar, B(), kNotAFile + "'b'", {}, "#mtree\nb type=block mode=0666 device=native,7,0\n"),
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

// velmora-pack and the launcher, each in the locale given, carry non-ASCII names (and a link
// naming one) from a client bundle into the copy byte for byte; the C locale knows no charset
// but ASCII.
struct RoundTripCase {
    const char* name;
    const char* pack_locale;
    const char* unpack_locale;
    const char* format;
    friend void PrintTo(const RoundTripCase& c, std::ostream* os) { *os << c.name; }
};
struct RoundTripTest : ExtractorTest, ::testing::WithParamInterface<RoundTripCase> {
    void TearDown() override {
        setlocale(LC_ALL, "C");
        ExtractorTest::TearDown();
    }
};

TEST_P(RoundTripTest, PackedNonAsciiNamesUnpackByteForByte) {
    const std::string resume = "R\xc3\xa9sum\xc3\xa9", japanese = resume + "/\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e.txt";
    ASSERT_TRUE(writeFile(tmp / "bundle/Contents/MacOS/cloud-ui", "#!/bin/sh\n") &&
                writeFile(tmp / "bundle/Contents/Resources/INFO", "[Version]\n") &&
                writeFile(tmp / ("bundle/" + japanese), "nihongo"));
    ASSERT_EQ(0, symlink(japanese.c_str(), (tmp / ("bundle/" + resume + "-link")).c_str()));
    const std::string pack = std::string("LC_ALL=") + GetParam().pack_locale + " '" + VELMORA_PACK + "' --format " +
                             GetParam().format + " '" + (tmp / "bundle") + "' '" + (tmp / "pkg") + "'";
    ASSERT_EQ(0, std::system(pack.c_str())) << pack;
    ASSERT_TRUE(setlocale(LC_ALL, GetParam().unpack_locale)) << GetParam().unpack_locale;
    EXPECT_EQ(0, Extract(tmp / "pkg", tmp / "dest")) << readFile(tmp / "log");
    EXPECT_EQ(snapshot(tmp / "dest"), snapshot(tmp / "bundle"));
}

INSTANTIATE_TEST_SUITE_P(Extractor, RoundTripTest,
                         ::testing::Values(RoundTripCase{"TarZstdInUtf8", "C.UTF-8", "C.UTF-8", "tar.zst"},
                                           RoundTripCase{"TarZstdInC", "C", "C", "tar.zst"},
                                           RoundTripCase{"TarZstdFromUtf8IntoC", "C.UTF-8", "C", "tar.zst"},
                                           RoundTripCase{"TarGzInC", "C", "C", "tar.gz"},
                                           RoundTripCase{"ZipInUtf8", "C.UTF-8", "C.UTF-8", "zip"},
                                           RoundTripCase{"ZipInC", "C", "C", "zip"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(ExtractorTest, FolderEntryThatMakesDestGivesItTheModeOfAnyFolderOnTheWay) {
    ASSERT_TRUE(B().dir("./", 0).file("a", "x").write(tmp / "pkg", B::Tar));
    ASSERT_EQ(0, Extract(tmp / "pkg", tmp / "made/dest"));
    struct stat made, dest;
    ASSERT_TRUE(stat((tmp / "made").c_str(), &made) == 0 && stat((tmp / "made/dest").c_str(), &dest) == 0);
    EXPECT_EQ(made.st_mode, dest.st_mode);
}

// A name may hold a line feed: the refusal that names it is still one line of the log, and
// cannot pass for a line of the launcher's own.
TEST_F(ExtractorTest, AnEntryNamedWithALineFeedIsLoggedOnOneLine) {
    const std::string forged = "h\nNov 16 20:41:19 [ERROR] launcher(1): forged";
    ASSERT_TRUE(B().symlink("s", "x").hardlink(forged, "s").write(tmp / "pkg", B::Tar));
    EXPECT_EQ(-1, Extract(tmp / "pkg", tmp / "dest"));
    const std::string log = readFile(tmp / "log");
    EXPECT_EQ(1, std::count(log.begin(), log.end(), '\n')) << log;
    // Logged() drops the line numbers, the forged one too.
    EXPECT_TRUE(Logged("Hard link to a symbolic link: 'h\\nNov 16 20:41:19 [ERROR] launcher: forged'\n")) << log;
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
