// bench-gen-client [--seed N] [--files N] [--mb N] [--build N] <bundle folder>
//
// Writes a client bundle shaped like a real macOS application: Contents/MacOS, frameworks with
// versioned folders, headers, localised resources and the usual symbolic links, and many
// localised resource folders. Sizes are mixed (a few large framework binaries, many small
// files); the first half of every file is random and so defeats any compressor, the second half
// is repetitive text that compresses well. The same seed always gives the same tree.

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// splitmix64: tiny, fast and identical on every platform, unlike the standard distributions.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t next() {
        uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    // In [0, 1).
    double unit() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }
    size_t below(size_t n) { return static_cast<size_t>(next() % n); }
    // Log-uniform between lo and hi: as many files of 1 KiB as of 10 KiB as of 100 KiB.
    double logUniform(double lo, double hi) { return std::exp(std::log(lo) + unit() * (std::log(hi) - std::log(lo))); }

private:
    uint64_t state_;
};

const char* const kLanguages[] = {"Base",  "en", "de", "fr",      "es",      "it",    "ja",    "ko",    "nl",    "pt",
                                  "pt-PT", "ru", "sv", "da",      "fi",      "nb",    "pl",    "tr",    "cs",    "hu",
                                  "el",    "he", "ar", "th",      "id",      "ms",    "vi",    "uk",    "ro",    "sk",
                                  "hr",    "ca", "hi", "zh-Hans", "zh-Hant", "en-GB", "en-AU", "es-MX", "fr-CA", "sl"};
const char* const kWords[] = {"Sync",  "Cloud",   "Share",  "Folder", "Account", "Upload", "Download", "Status",
                              "Panel", "Setting", "Notice", "Backup", "Device",  "Link",   "Token",    "Queue"};
const char* const kFrameworkParts[] = {"Core", "Net", "Crypto", "Store", "Index", "View", "Media", "Sync",
                                       "Auth", "Log", "Watch",  "Diff",  "Pack",  "Text", "Image", "Task"};

struct Item {
    std::string path;
    double weight; // share of the byte budget, scaled to the requested total afterwards
    bool executable;
    uint64_t size = 0;
};

struct Link {
    std::string path;
    std::string target;
};

std::string Word(Random& r) {
    return kWords[r.below(sizeof(kWords) / sizeof(kWords[0]))];
}

std::string Language(Random& r) {
    return kLanguages[r.below(sizeof(kLanguages) / sizeof(kLanguages[0]))];
}

bool WriteFile(const fs::path& path, const std::string& text, mode_t mode) {
    FILE* f = fopen(path.c_str(), "wb");
    if (!f)
        return false;
    const bool ok = fwrite(text.data(), 1, text.size(), f) == text.size();
    return fclose(f) == 0 && ok && chmod(path.c_str(), mode) == 0;
}

// Random first half, repetitive text second half.
void FillContent(Random& r, std::vector<char>& buf, uint64_t size) {
    buf.resize(size);
    const uint64_t half = size / 2;
    uint64_t i = 0;
    for (; i + 8 <= half; i += 8) {
        const uint64_t v = r.next();
        memcpy(buf.data() + i, &v, 8);
    }
    for (; i < half; ++i)
        buf[i] = static_cast<char>(r.next());
    while (i < size) {
        const std::string w = Word(r);
        for (size_t k = 0; k < w.size() && i < size; ++k)
            buf[i++] = w[k];
        if (i < size)
            buf[i++] = (r.below(8) == 0) ? '\n' : ' ';
    }
}

int Usage() {
    fprintf(stderr, "usage: bench-gen-client [--seed N] [--files N] [--mb N] [--build N] <bundle folder>\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[]) {
    uint64_t seed = 1;
    long files = 20000;
    double megabytes = 200;
    long build = 9000;
    std::string out;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (i + 1 < argc && a == "--seed")
            seed = strtoull(argv[++i], nullptr, 10);
        else if (i + 1 < argc && a == "--files")
            files = strtol(argv[++i], nullptr, 10);
        else if (i + 1 < argc && a == "--mb")
            megabytes = strtod(argv[++i], nullptr);
        else if (i + 1 < argc && a == "--build")
            build = strtol(argv[++i], nullptr, 10);
        else if (a[0] != '-' && out.empty())
            out = a;
        else
            return Usage();
    }
    if (out.empty() || files < 10 || megabytes <= 0)
        return Usage();

    Random r(seed);
    const fs::path root = out;
    std::vector<Item> items;
    std::vector<Link> links;

    // Framework binaries take 40 % of the bytes, everything else shares the rest.
    const long frameworkCount = std::clamp(files / 400, 1L, 200L);
    std::vector<std::string> frameworks;
    for (long f = 0; f < frameworkCount; ++f) {
        const std::string name =
            std::string("Velmora") + kFrameworkParts[f % 16] + (f >= 16 ? std::to_string(f / 16) : std::string());
        const std::string dir = "Contents/Frameworks/" + name + ".framework";
        frameworks.push_back(dir);
        items.push_back({dir + "/Versions/A/" + name, r.logUniform(1, 16), true});
        items.push_back({dir + "/Versions/A/Resources/Info.plist", 0, false});
        links.push_back({dir + "/Versions/Current", "A"});
        links.push_back({dir + "/" + name, "Versions/Current/" + name});
        links.push_back({dir + "/Resources", "Versions/Current/Resources"});
        links.push_back({dir + "/Headers", "Versions/Current/Headers"});
    }
    double binaryWeight = 0;
    for (const Item& it : items)
        binaryWeight += it.weight;

    const size_t fixedFiles = 4; // Info.plist, PkgInfo, the client executable, INFO
    std::vector<Item> small;
    for (long n = 0; static_cast<long>(items.size() + small.size() + fixedFiles) < files; ++n) {
        const double pick = r.unit();
        const std::string stem = Word(r) + Word(r) + std::to_string(n);
        std::string path;
        if (pick < 0.30) {
            path = frameworks[r.below(frameworks.size())] + "/Versions/A/Headers/" +
                   (r.below(4) == 0 ? "Private/" : "") + stem + ".h";
        } else if (pick < 0.55) {
            path = frameworks[r.below(frameworks.size())] + "/Versions/A/Resources/" + Language(r) + ".lproj/" + stem +
                   (r.below(2) ? ".strings" : ".nib");
        } else if (pick < 0.80) {
            path = "Contents/Resources/" + Language(r) + ".lproj/" + stem + (r.below(3) ? ".strings" : ".nib");
        } else if (pick < 0.95) {
            path = "Contents/Resources/images/" + stem + (r.below(2) ? "@2x.png" : ".png");
        } else {
            path = "Contents/PlugIns/Velmora" + Word(r) + ".bundle/Contents/Resources/" + stem + ".plist";
        }
        small.push_back({path, r.logUniform(256, 65536), false});
    }
    double smallWeight = 0;
    for (const Item& it : small)
        smallWeight += it.weight;

    const double total = megabytes * 1024 * 1024;
    for (Item& it : items)
        it.size = it.weight > 0 ? static_cast<uint64_t>(it.weight / binaryWeight * total * 0.4) : 1024;
    for (Item& it : small)
        it.size = static_cast<uint64_t>(it.weight / smallWeight * total * 0.6);
    items.insert(items.end(), small.begin(), small.end());

    std::error_code ec;
    fs::create_directories(root / "Contents/MacOS", ec);
    fs::create_directories(root / "Contents/Resources", ec);
    const std::string info = "[Version]\nmajor_version=3\nminor_version=2\nbuild_version=" + std::to_string(build) +
                             "\nicon_overlay_version=2\n";
    // The launcher opens whatever the bundle holds; the benchmark times the launcher, so the
    // client it opens only notes in its log when it was started, which the benchmark checks.
    // Asked to stay (BENCH_CLIENT_STAYS), it runs like a real client until SIGTERM and notes
    // when that came, so the benchmark sees how long an upgrade leaves the user without one.
    const std::string client = "#!/bin/sh\n"
                               "d=\"$HOME/.Velmora\"\n"
                               "echo \"started $(date +%s.%N)\" >>\"$d/cloud-ui.log\"\n"
                               "[ -n \"$BENCH_CLIENT_STAYS\" ] || exit 0\n"
                               "trap 'echo \"stopping $(date +%s.%N)\" >>\"$d/cloud-ui.log\"; exit 0' TERM\n"
                               "echo \"pid=$$\" >\"$d/ui.pid.new\" && mv \"$d/ui.pid.new\" \"$d/ui.pid\"\n"
                               "while :; do sleep 1 & wait $!; done\n";
    if (!WriteFile(root / "Contents/Info.plist", "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict/></plist>\n",
                   0644) ||
        !WriteFile(root / "Contents/PkgInfo", "APPL????", 0644) ||
        !WriteFile(root / "Contents/MacOS/cloud-ui", client, 0755) ||
        !WriteFile(root / "Contents/Resources/INFO", info, 0644)) {
        fprintf(stderr, "bench-gen-client: cannot write into '%s': %s\n", out.c_str(), strerror(errno));
        return 1;
    }

    std::vector<char> buf;
    uint64_t bytes = 0;
    for (const Item& it : items) {
        const fs::path path = root / it.path;
        fs::create_directories(path.parent_path(), ec);
        FillContent(r, buf, it.size);
        FILE* f = fopen(path.c_str(), "wb");
        if (!f || fwrite(buf.data(), 1, buf.size(), f) != buf.size() || fclose(f) != 0) {
            fprintf(stderr, "bench-gen-client: cannot write '%s': %s\n", path.c_str(), strerror(errno));
            return 1;
        }
        if (it.executable)
            chmod(path.c_str(), 0755);
        bytes += it.size;
    }
    for (const Link& l : links) {
        const fs::path path = root / l.path;
        // Like the real thing, a framework without headers still carries the Headers link.
        fs::create_directories(path.parent_path(), ec);
        if (symlink(l.target.c_str(), path.c_str()) != 0) {
            fprintf(stderr, "bench-gen-client: cannot link '%s': %s\n", path.c_str(), strerror(errno));
            return 1;
        }
    }

    long folders = 0;
    for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec))
        if (it->is_directory() && !it->is_symlink())
            ++folders;
    printf("%zu files, %ld folders, %zu links, %llu bytes\n", items.size() + fixedFiles, folders, links.size(),
           static_cast<unsigned long long>(bytes));
    return 0;
}
