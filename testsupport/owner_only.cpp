#include "owner_only.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace testsupport {

namespace {

const uint32_t kOverrides = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH) | (1u << CAP_FOWNER);

// The raw calls change this thread alone; glibc has no wrapper, and libcap is not needed.
bool Get(__user_cap_data_struct (&data)[2]) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    return syscall(SYS_capget, &header, data) == 0;
}

bool Set(__user_cap_data_struct (&data)[2]) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    return syscall(SYS_capset, &header, data) == 0;
}

} // namespace

OwnerOnly::OwnerOnly() {
    __user_cap_data_struct data[2] = {};
    if (!Get(data) || !(data[0].effective & kOverrides))
        return;
    effective_[0] = data[0].effective;
    effective_[1] = data[1].effective;
    data[0].effective &= ~kOverrides;
    lowered_ = Set(data);
}

OwnerOnly::~OwnerOnly() {
    __user_cap_data_struct data[2] = {};
    if (!lowered_ || !Get(data))
        return;
    data[0].effective = effective_[0];
    data[1].effective = effective_[1];
    Set(data);
}

} // namespace testsupport
