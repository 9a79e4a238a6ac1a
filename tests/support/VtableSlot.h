// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace veltest {

// Index of a virtual function in the vtable, read from its member pointer as
// the Itanium C++ ABI lays it out (the ARM variant keeps the "virtual" mark in
// the adjustment instead of the pointer). Compiled applications call callbacks
// through these indexes, so a test pins them.
template <typename MemberFunction>
std::size_t vtableSlot(MemberFunction function)
{
    static_assert(sizeof(MemberFunction) == 2 * sizeof(std::uintptr_t), "Itanium member function pointer");
    std::uintptr_t words[2];
    std::memcpy(words, &function, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
    return words[0] / sizeof(void*);
#else
    return (words[0] - 1) / sizeof(void*);
#endif
}

} // namespace veltest
