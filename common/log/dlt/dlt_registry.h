// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <dlt/dlt_user.h>

#include <atomic>
#include <cstdint>

namespace veldlt {

// One DLT context of this process, registered with libdlt on the first line
// of its library context. Slots live in static storage and are never freed,
// so a late reader never touches freed memory.
struct ContextSlot {
    std::atomic<std::uint32_t> key{0};
    // DLT's current level for the context, kept up to date by libdlt's
    // level-changed callback; read on every line without a lock.
    std::atomic<int> level{-128};
    DltContext dlt{};
};

// Brackets every call into libdlt, so that the exit handler can wait for
// them before libdlt frees its state.
class DltUse {
public:
    DltUse();
    ~DltUse();
    // False once the process is exiting: leave libdlt alone.
    bool open() const { return mOpen; }

    DltUse(const DltUse&) = delete;
    DltUse& operator=(const DltUse&) = delete;

private:
    bool mOpen;
};

// The slot for a library context (nullptr or a context without an id: the
// wrapper's own lines), registering the application and the context on first
// use. nullptr when DLT refused the context or the process is exiting.
ContextSlot* slotFor(const DltContext* libraryContext);

// Whether DLT currently wants a line of `level` from the slot's context.
inline bool wants(const ContextSlot& slot, DltLogLevelType level)
{
    return static_cast<int>(level) <= slot.level.load(std::memory_order_relaxed);
}

// Sends one line; the caller holds a DltUse that is open.
void emit(ContextSlot& slot, DltLogLevelType level, const char* text);

} // namespace veldlt
