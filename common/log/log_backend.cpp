// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "log_backend.h"

#include <atomic>

namespace orna {

namespace {

std::atomic<const LogBackend*> gBackend{nullptr};

// Thread-local rather than a member: the mutex already keeps one line at a
// time, but the sink may be called on any thread and must see its own line's
// context, never another thread's.
thread_local const DltContext* tCurrentContext = nullptr;

} // namespace

void setLogBackend(const LogBackend* backend)
{
    gBackend.store(backend, std::memory_order_release);
}

bool isLogLevelEnabled(const DltContext* context, DltLogLevelType level)
{
    const LogBackend* backend = gBackend.load(std::memory_order_acquire);
    return backend == nullptr || backend->isLevelEnabled(context, level);
}

const DltContext* currentLogContext()
{
    return tCurrentContext;
}

void setCurrentLogContext(const DltContext* context)
{
    tCurrentContext = context;
}

} // namespace orna
