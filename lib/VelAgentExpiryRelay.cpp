// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "VelAgentExpiryRelay.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

namespace VelAgentExpiryRelay {
namespace {

volatile sig_atomic_t sWriteFd = -1;
int sReadFd = -1;
void (*sReceiver)(int) = nullptr;
std::once_flag sInstallOnce;

gboolean onReadable(gint fd, GIOCondition condition, gpointer userData)
{
    (void)condition;
    (void)userData;
    // Every write is one int, which a pipe delivers whole.
    int buffer[16];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        const std::size_t count = static_cast<std::size_t>(got) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            sReceiver(buffer[i]);
        }
    }
    return G_SOURCE_CONTINUE;
}

void installOnce(void (*receiver)(int))
{
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    sReceiver = receiver;
    sReadFd = fds[0];
    // Attached to the global default context, which the main-loop thread runs.
    g_unix_fd_add(sReadFd, G_IO_IN, onReadable, nullptr);
    sWriteFd = fds[1];
}

} // namespace

bool install(void (*receiver)(int signum))
{
    std::call_once(sInstallOnce, installOnce, receiver);
    return sWriteFd >= 0;
}

void post(int signum)
{
    const int fd = sWriteFd;
    if (fd < 0) {
        return;
    }
    const int savedErrno = errno;
    ssize_t written;
    do {
        written = write(fd, &signum, sizeof(signum));
    } while (written < 0 && errno == EINTR);
    errno = savedErrno;
}

} // namespace VelAgentExpiryRelay
