// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <thread>

#include "WaitUntil.h"

namespace linktest {

// Stands in for a proxy's main-loop thread where a test drives agents directly:
// runs the default main context until destroyed.
class DefaultContextLoop {
public:
    DefaultContextLoop()
        : mLoop(g_main_loop_new(nullptr, FALSE)),
          mThread([this] { g_main_loop_run(mLoop); })
    {
        // A quit before the loop runs would be lost.
        veltest::waitUntil([this] { return g_main_loop_is_running(mLoop) != FALSE; });
    }

    ~DefaultContextLoop()
    {
        g_main_loop_quit(mLoop);
        g_main_context_wakeup(nullptr);
        mThread.join();
        g_main_loop_unref(mLoop);
    }

    std::thread::id threadId() const { return mThread.get_id(); }

    DefaultContextLoop(const DefaultContextLoop&) = delete;
    DefaultContextLoop& operator=(const DefaultContextLoop&) = delete;

private:
    GMainLoop* mLoop;
    std::thread mThread;
};

} // namespace linktest
