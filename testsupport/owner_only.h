#pragma once

#include <cstdint>

namespace testsupport {

// While it lives, the calling thread is held to permission bits as an unprivileged owner is:
// root's overrides (reading, searching and writing anything, changing what it does not own)
// leave the thread's effective capabilities and come back when it goes. Capabilities belong to
// a thread, so other threads keep theirs. Does nothing for a process that has none.
class OwnerOnly {
public:
    OwnerOnly();
    ~OwnerOnly();
    OwnerOnly(const OwnerOnly&) = delete;
    OwnerOnly& operator=(const OwnerOnly&) = delete;

private:
    bool lowered_ = false;
    uint32_t effective_[2] = {0, 0};
};

} // namespace testsupport
