#pragma once

#include <sys/resource.h>

// Caps the test process's address space, so that code reading without end
// (from /dev/zero, say) fails the test in a second with an allocation failure
// instead of taking the machine's memory.
inline bool capAddressSpace(rlim_t bytes = rlim_t(2) << 30) {
    const rlimit limit{bytes, bytes};
    return ::setrlimit(RLIMIT_AS, &limit) == 0;
}
