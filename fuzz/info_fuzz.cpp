// Arbitrary bytes as the two INFO files, then the upgrade decision as the worker takes it:
// PreUpgrade reads both files, IsNeedUpgrade decides. Whatever the files hold, the decision
// must be the one the stored build numbers give when read like atoi.
//
// Input: one flag byte (bit 0: the per-user INFO exists, bit 1: the bundle's INFO exists,
// bit 2: the per-user client executable exists), the per-user INFO, a line "%%", the
// bundle's INFO.
#include <QCoreApplication>
#include <QDir>
#include <QString>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "file_tree.h"
#include "fuzz_support.h"
#include "mac/mac-service.h"
#include "temp_dir.h"

namespace {

// Reads the version records the service keeps to itself.
class ServiceProbe : public MacService {
public:
    const ustring& SourceBuild() const { return source_build_version; }
    const ustring& TargetBuild() const { return target_build_version; }
    bool SourceEmpty() const {
        return source_major_version.empty() && source_minor_version.empty() && source_build_version.empty() &&
               source_icon_overlay_version.empty();
    }
    bool TargetEmpty() const {
        return target_major_version.empty() && target_minor_version.empty() && target_build_version.empty() &&
               target_icon_overlay_version.empty();
    }
    bool AllValidUtf8() const {
        for (const ustring* f :
             {&source_major_version, &source_minor_version, &source_build_version, &source_icon_overlay_version,
              &target_major_version, &target_minor_version, &target_build_version, &target_icon_overlay_version})
            if (!ustring::is_valid(*f))
                return false;
        return true;
    }
};

// atoi's reading. Beyond int it saturates: a huge bundle build still upgrades, a huge per-user
// build never downgrades.
long BuildNumber(const ustring& text) {
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : value;
}

struct Scene {
    testsupport::ScratchHome home;
    testsupport::TempDir logs;
    std::string bundle_info;
    int bundle_lock = -1;
};
// Destroyed at exit, which removes the scratch home and the log folder.
std::unique_ptr<Scene> scene;

void Place(const std::string& path, bool present, const std::string& content) {
    if (!present) {
        unlink(path.c_str());
        return;
    }
    FUZZ_CHECK(testsupport::writeFile(path, content));
}

} // namespace

// An allocation that cannot be satisfied throws std::bad_alloc in a release build, after malloc
// has returned null; AddressSanitizer would stop at the request itself. Failing the way a
// release build fails shows whether our code survives it.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // The service finds the bundle and the home through the application object. INFO is read
    // by the launcher's own reader, which hands Qt nothing to decode: a core application is
    // enough, and a value that would need the interface application must not reach Qt at all.
    new QCoreApplication(*argc, *argv);
    scene = std::make_unique<Scene>();
    // The service finds the bundle two levels above the executable; the build places this
    // target inside a bundle of its own.
    const std::string root = QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../..").toStdString();
    scene->bundle_info = root + "/Contents/Resources/INFO";
    scene->bundle_lock = open(root.c_str(), O_RDONLY | O_DIRECTORY);
    FUZZ_CHECK(scene->bundle_lock >= 0);
    fuzzsupport::LogEverythingQuietly(scene->logs.path());
    fuzzsupport::SilenceStringWarnings();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const unsigned flags = size > 0 ? data[0] : 0;
    const std::string rest = size > 0 ? std::string(reinterpret_cast<const char*>(data) + 1, size - 1) : "";
    const size_t split = rest.find("\n%%\n");
    const std::string user_text = rest.substr(0, split);
    const std::string bundle_text = split == std::string::npos ? "" : rest.substr(split + 4);
    const std::string app = scene->home.path() + "/.Velmora/Velmora.app/Contents";

    // Other runs of this target share the bundle; the lock keeps its INFO ours until decided.
    FUZZ_CHECK(flock(scene->bundle_lock, LOCK_EX) == 0);
    Place(app + "/Resources/INFO", flags & 1, user_text);
    Place(scene->bundle_info, flags & 2, bundle_text);
    Place(app + "/MacOS/cloud-ui", flags & 4, "");
    ServiceProbe service;
    service.PreUpgrade();
    const bool upgrade = service.IsNeedUpgrade();
    FUZZ_CHECK(flock(scene->bundle_lock, LOCK_UN) == 0);

    FUZZ_CHECK(upgrade == (!(flags & 4) || BuildNumber(service.TargetBuild()) > BuildNumber(service.SourceBuild())));
    FUZZ_CHECK((flags & 1) || service.SourceEmpty());
    FUZZ_CHECK((flags & 2) || service.TargetEmpty());
    FUZZ_CHECK(service.AllValidUtf8());
    return 0;
}
