#include "temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace testsupport {

TempDir::TempDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX").string();
    if (!mkdtemp(tmpl.data()))
        throw std::runtime_error("mkdtemp failed");
    path_ = tmpl;
}

TempDir::~TempDir() {
    std::error_code ec;
    // Tests may leave read-only folders behind; make them writable so removal succeeds.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        if (it->is_directory(ec) && !it->is_symlink(ec))
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ec);
    }
    std::filesystem::remove_all(path_, ec);
}

ScratchHome::ScratchHome() {
    const char* old = getenv("HOME");
    had_home_ = old != nullptr;
    if (old)
        old_home_ = old;
    setenv("HOME", dir_.path().c_str(), 1);
}

ScratchHome::~ScratchHome() {
    if (had_home_)
        setenv("HOME", old_home_.c_str(), 1);
    else
        unsetenv("HOME");
}

} // namespace testsupport
