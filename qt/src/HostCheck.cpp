// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "HostCheck.h"

#include <glib.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>

namespace velqt {

namespace {

bool runsGlibDispatcher(QThread* thread)
{
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance(thread);
    // QEventDispatcherGlib and the GUI's QPAEventDispatcherGlib derive from it.
    return dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib");
}

} // namespace

std::string hostSetUpProblem()
{
    QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr) {
        if (qEnvironmentVariableIsEmpty("QT_NO_GLIB")) {
            return "No QCoreApplication yet, and Qt will give it the GLib event dispatcher, which cannot run once "
                   "libvel's thread owns GLib's default main context: create the application object first, or set "
                   "QT_NO_GLIB=1";
        }
        return std::string();
    }
    QThread* mainThread = application->thread();
    if (runsGlibDispatcher(mainThread) && QThread::currentThread() == mainThread &&
        !g_main_context_is_owner(g_main_context_default())) {
        return "Qt's GLib event dispatcher runs on this thread, but another thread owns GLib's default main context "
               "(was a libvel facade made before the application object?): set QT_NO_GLIB=1";
    }
    return std::string();
}

} // namespace velqt
