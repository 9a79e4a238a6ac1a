// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Interposed platform calls for fault injection (see FaultInjection.h). Only
// test executables that link vel_fault_injection carry them.
#include "FaultInjection.h"

#include <dlfcn.h>

#include <initializer_list>
#include <semaphore.h>
#include <signal.h>
#include <sys/stat.h>
#include <gio/gio.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <dlt/dlt_user.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace veltest {

namespace {

struct Fault {
    std::atomic<unsigned> passing{0};
    std::atomic<unsigned> failing{0};
    std::atomic<int> error{0};
    std::atomic<unsigned> injected{0};
};

Fault gFaults[static_cast<int>(FaultyCall::Count)];

// True when this call is to fail; its error is then in `error`.
bool takeFailure(FaultyCall call, int& error)
{
    Fault& fault = gFaults[static_cast<int>(call)];
    if (fault.failing.load() == 0) {
        return false;
    }
    unsigned passing = fault.passing.load();
    while (passing > 0) {
        if (fault.passing.compare_exchange_weak(passing, passing - 1)) {
            return false;
        }
    }
    unsigned failing = fault.failing.load();
    while (failing > 0) {
        if (fault.failing.compare_exchange_weak(failing, failing - 1)) {
            error = fault.error.load();
            fault.injected.fetch_add(1);
            return true;
        }
    }
    return false;
}

template <typename Function>
Function real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// x86-64 glibc keeps timer functions of 2.2.5 with timer ids of another form,
// and an unversioned lookup may find them: the library's other timer calls
// would then be handed ids they cannot read. The current version first; other
// ABIs have one version only.
template <typename Function>
Function realTimerCall(const char* name)
{
    for (const char* version : {"GLIBC_2.34", "GLIBC_2.3.3"}) {
        if (void* found = dlvsym(RTLD_NEXT, name, version)) {
            return reinterpret_cast<Function>(found);
        }
    }
    return real<Function>(name);
}

} // namespace

void failNextCalls(FaultyCall call, int error, unsigned times, unsigned passing)
{
    Fault& fault = gFaults[static_cast<int>(call)];
    fault.error.store(error);
    fault.passing.store(passing);
    fault.failing.store(times);
}

void clearFaults()
{
    for (Fault& fault : gFaults) {
        fault.failing.store(0);
        fault.passing.store(0);
    }
}

unsigned injectedFailures(FaultyCall call)
{
    return gFaults[static_cast<int>(call)].injected.load();
}

} // namespace veltest

using veltest::FaultyCall;
using veltest::real;
using veltest::takeFailure;

extern "C" {

int ftruncate(int fd, off_t length) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Ftruncate, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(int, off_t)>("ftruncate");
    return next(fd, length);
}

void* mremap(void* oldAddress, size_t oldSize, size_t newSize, int flags, ...) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Mremap, error)) {
        errno = error;
        return MAP_FAILED;
    }
    void* newAddress = nullptr;
    if ((flags & MREMAP_FIXED) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        newAddress = va_arg(arguments, void*);
        va_end(arguments);
    }
    static const auto next = real<void* (*)(void*, size_t, size_t, int, ...)>("mremap");
    return next(oldAddress, oldSize, newSize, flags, newAddress);
}

int munmap(void* address, size_t length) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Munmap, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(void*, size_t)>("munmap");
    return next(address, length);
}

ssize_t pwrite(int fd, const void* buffer, size_t count, off_t offset)
{
    int error = 0;
    if (takeFailure(FaultyCall::Pwrite, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
    return next(fd, buffer, count, offset);
}

int timer_create(clockid_t clock, struct sigevent* event, timer_t* timer) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::TimerCreate, error)) {
        errno = error;
        return -1;
    }
    static const auto next = veltest::realTimerCall<int (*)(clockid_t, struct sigevent*, timer_t*)>("timer_create");
    return next(clock, event, timer);
}

int timer_delete(timer_t timer) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::TimerDelete, error)) {
        errno = error;
        return -1;
    }
    static const auto next = veltest::realTimerCall<int (*)(timer_t)>("timer_delete");
    return next(timer);
}

GDBusConnection* g_bus_get_sync(GBusType type, GCancellable* cancellable, GError** error)
{
    int code = 0;
    if (takeFailure(FaultyCall::BusGetSync, code)) {
        g_set_error(error, G_IO_ERROR, code, "injected failure of g_bus_get_sync");
        return nullptr;
    }
    static const auto next = real<GDBusConnection* (*)(GBusType, GCancellable*, GError**)>("g_bus_get_sync");
    return next(type, cancellable, error);
}

DltReturnValue dlt_register_context_llccb(DltContext* handle, const char* contextId, const char* description,
                                          void (*callback)(char contextId[DLT_ID_SIZE], uint8_t logLevel,
                                                           uint8_t traceStatus))
{
    int error = 0;
    if (takeFailure(FaultyCall::DltRegisterContext, error)) {
        return DLT_RETURN_ERROR;
    }
    using Register = DltReturnValue (*)(DltContext*, const char*, const char*,
                                        void (*)(char[DLT_ID_SIZE], uint8_t, uint8_t));
    static const auto next = real<Register>("dlt_register_context_llccb");
    return next(handle, contextId, description, callback);
}

int close(int fd)
{
    int error = 0;
    if (takeFailure(FaultyCall::Close, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(int)>("close");
    return next(fd);
}

int unlink(const char* path) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Unlink, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(const char*)>("unlink");
    return next(path);
}

#if defined(_STAT_VER)
// A C library before 2.33 exports no fstat: each program and library links a
// small fstat of its own that calls __fxstat, so that is the call to fail.
int __fxstat(int version, int fd, struct stat* status) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Fstat, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(int, int, struct stat*)>("__fxstat");
    return next(version, fd, status);
}

int fstat(int fd, struct stat* status) noexcept
{
    return __fxstat(_STAT_VER, fd, status);
}
#else
int fstat(int fd, struct stat* status) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Fstat, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(int, struct stat*)>("fstat");
    return next(fd, status);
}
#endif

ssize_t read(int fd, void* buffer, size_t count)
{
    int error = 0;
    if (takeFailure(FaultyCall::Read, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<ssize_t (*)(int, void*, size_t)>("read");
    return next(fd, buffer, count);
}

int sem_post(sem_t* semaphore) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::SemPost, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(sem_t*)>("sem_post");
    return next(semaphore);
}

int sem_close(sem_t* semaphore) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::SemClose, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(sem_t*)>("sem_close");
    return next(semaphore);
}

sighandler_t signal(int signo, sighandler_t handler) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::Signal, error)) {
        errno = error;
        return SIG_ERR;
    }
    static const auto next = real<sighandler_t (*)(int, sighandler_t)>("signal");
    return next(signo, handler);
}

int clock_gettime(clockid_t clock, struct timespec* time) noexcept
{
    int error = 0;
    if (takeFailure(FaultyCall::ClockGettime, error)) {
        errno = error;
        return -1;
    }
    static const auto next = real<int (*)(clockid_t, struct timespec*)>("clock_gettime");
    return next(clock, time);
}

} // extern "C"
