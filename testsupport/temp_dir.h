#pragma once

#include <string>

namespace testsupport {

// A fresh folder under the system's temporary folder, removed with everything in it when the
// object goes away.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Points HOME at a fresh folder for the life of the object (QDir::homePath() follows it) and
// restores the previous value afterwards.
class ScratchHome {
public:
    ScratchHome();
    ~ScratchHome();

    const std::string& path() const { return dir_.path(); }

private:
    TempDir dir_;
    std::string old_home_;
    bool had_home_;
};

} // namespace testsupport
