// Writes the generated seed corpora, one folder per fuzz target, into the folder given as the
// only argument: archives in every format the package may come in, and the binary inputs that
// would be opaque as checked-in files. The readable seeds live in fuzz/corpus/ instead.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

#include "archive_builder.h"
#include "file_tree.h"

using testsupport::ArchiveBuilder;

namespace {

std::string out;

void Seed(const std::string& target, const std::string& name, const std::string& bytes) {
    if (!testsupport::writeFile(out + "/" + target + "/" + name, bytes)) {
        std::fprintf(stderr, "make_seeds: cannot write %s/%s\n", target.c_str(), name.c_str());
        std::exit(1);
    }
}

// The string target reads a text, a needle, then numbers from the end of its input; a
// backslash and any other byte end each string.
std::string StringInput(const std::string& text, const std::string& needle, const std::string& tail) {
    std::string input;
    for (const std::string& part : {text, needle}) {
        for (char c : part)
            input += c == '\\' ? std::string("\\\\") : std::string(1, c);
        input += "\\|";
    }
    return input + tail;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds <folder>\n");
        return 2;
    }
    out = argv[1];
    std::error_code ec;
    std::filesystem::create_directories(out + "/extractor_fuzz", ec);

    // A package as the bundle ships it, with a link that stays inside, in every format.
    ArchiveBuilder package;
    package.dir("Contents")
        .dir("Contents/Resources")
        .file("Contents/Resources/INFO", "[Version]\nbuild_version=3500\n")
        .file("Contents/MacOS/cloud-ui", "#!/bin/sh\n", 0755)
        .symlink("Contents/Current", "Resources")
        .file("Contents/Current/en.lproj", "through the link");
    const std::pair<const char*, ArchiveBuilder::Format> formats[] = {
        {"package.tar", ArchiveBuilder::Tar},         {"package.tar.gz", ArchiveBuilder::TarGz},
        {"package.tar.zst", ArchiveBuilder::TarZstd}, {"package.zip", ArchiveBuilder::Zip},
        {"package.7z", ArchiveBuilder::SevenZip},     {"package.cpio", ArchiveBuilder::Cpio}};
    for (const auto& [name, format] : formats) {
        if (!package.write(out + "/extractor_fuzz/" + name, format)) {
            std::fprintf(stderr, "make_seeds: cannot write %s\n", name);
            return 1;
        }
    }
    if (!ArchiveBuilder().file("only", "one entry").write(out + "/extractor_fuzz/one.tar", ArchiveBuilder::Tar))
        return 1;

    // Names that mean dest itself, links where a folder or a hard link goes, a hard link with data
    // to a link out of dest, and a folder that climbs out onto a link: every shape that once
    // reached past dest, for the fuzzer to vary. FIFOs and devices are in corpus/ (mtree).
    const std::tuple<const char*, ArchiveBuilder::Format, ArchiveBuilder> hostile[] = {
        {"dot-link.tar", ArchiveBuilder::Tar, ArchiveBuilder().symlink(".", "..").file("planted", "x")},
        {"dot-link.zip", ArchiveBuilder::Zip, ArchiveBuilder().symlink(".", "..").file("planted", "x")},
        {"slash-slash-link.pax", ArchiveBuilder::Pax, ArchiveBuilder().symlink("//", "..").file("planted", "x")},
        {"empty-name.tar", ArchiveBuilder::Tar, ArchiveBuilder().file("", "x")},
        {"dot-file.zip", ArchiveBuilder::Zip, ArchiveBuilder().file(".", "x")},
        {"gnu-static-library.a", ArchiveBuilder::Ar,
         ArchiveBuilder().file("/", std::string(4, '\0')).file("//", "a-long-member-name.o/\n").file("a.o", "x")},
        {"hard-link-with-data-to-link.pax", ArchiveBuilder::Pax,
         ArchiveBuilder().symlink("s", "../keep").hardlink("h", "s", "data")},
        {"folder-over-link.tar", ArchiveBuilder::Tar,
         ArchiveBuilder().symlink("lnk", "..").dir("lnk/").file("lnk/f", "x")},
        {"dot-folder-first.tar", ArchiveBuilder::Tar, ArchiveBuilder().dir("./", 0).file("./a", "x").dir(".", 0500)},
        {"dot-dot-folder-onto-link.tar", ArchiveBuilder::Tar,
         ArchiveBuilder().symlink("docs", "..").dir("../dest/docs/").dir("../cwd/")}};
    for (const auto& [name, format, archive] : hostile) {
        if (!archive.write(out + "/extractor_fuzz/" + name, format)) {
            std::fprintf(stderr, "make_seeds: cannot write %s\n", name);
            return 1;
        }
    }

    Seed("ustring_fuzz", "path", StringInput("Velmora.app/Contents/Resources/INFO", "/", "\x05\x01\x20"));
    Seed("ustring_fuzz", "nfd", StringInput("Cafe\xCC\x81 a\xCC\xA3\xCC\x87", "e\xCC\x81", "\xE9\x01\x03"));
    Seed("ustring_fuzz", "nfc", StringInput("Caf\xC3\xA9 \xE1\xBA\xA1", "\xC3", "\x3D\xD8\x01\xDE\x02"));
    Seed("ustring_fuzz", "hangul", StringInput("\xED\x95\x9C\xEA\xB8\x80 \xE1\x84\x92\xE1\x85\xA1", "\x80", "\x07"));
    Seed("ustring_fuzz", "emoji", StringInput("\xF0\x9F\x98\x80!", "!", "\x3D\xD8\x41\x09"));
    Seed("ustring_fuzz", "ill-formed", StringInput("\xFF\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80", "\xFF", "\x01"));
    Seed("ustring_fuzz", "blanks", StringInput("  \tpadded\t  ", " \t", "\x02\x04"));

    Seed("config_fuzz", "long-line", "a=" + std::string(10000, 'x') + "\nb=2\n");
    Seed("config_fuzz", "crlf", "pid=4242\r\nservice_debug=7\r\n");
    Seed("config_fuzz", "byte-order-mark", "\xEF\xBB\xBFservice_debug=7\n");
    Seed("config_fuzz", "nul-in-line", std::string("a=1\n\0b=2\n", 9));

    Seed("info_fuzz", "crlf", "7[Version]\r\nbuild_version=3487\r\n\n%%\n[Version]\r\nbuild_version=3500\r\n");
    Seed("info_fuzz", "byte-order-mark",
         "7\xEF\xBB\xBF[Version]\nbuild_version=1\n\n%%\n\xEF\xBB\xBF[Version]\nbuild_version=2\n");
    return 0;
}
