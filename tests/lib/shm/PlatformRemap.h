// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace storetest {

// The store passes mremap's answer through, and two edge cases it meets are
// answered differently by the Linux kernel and by qemu-user, under which the
// target's binaries run on a build machine (make cross-test): the kernel
// refuses a zero new length with EINVAL and grows a shared mapping from a zero
// old length; qemu-user refuses both with ENOMEM. The tests ask the platform
// they run on, with a mapping of their own, instead of assuming the kernel.

// errno of mremap to a new length of zero (0 if it were allowed).
inline int platformRemapToZeroErrno()
{
    const long page = sysconf(_SC_PAGESIZE);
    void* address = mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED) {
        return -1;
    }
    void* moved = mremap(address, page, 0, MREMAP_MAYMOVE);
    const int error = moved == MAP_FAILED ? errno : 0;
    munmap(moved == MAP_FAILED ? address : moved, page);
    return error;
}

// errno of growing a shared mapping from an old length of zero (0: it grows).
inline int platformRemapFromZeroErrno()
{
    const long page = sysconf(_SC_PAGESIZE);
    void* address = mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED) {
        return -1;
    }
    void* grown = mremap(address, 0, 2 * page, MREMAP_MAYMOVE);
    const int error = grown == MAP_FAILED ? errno : 0;
    if (grown != MAP_FAILED) {
        munmap(grown, 2 * page);
    }
    munmap(address, page);
    return error;
}

} // namespace storetest
