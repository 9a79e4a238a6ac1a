// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <dlt/dlt_user.h>

#include "vel/LogBackend.h"

#include <list>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

/// @file
/// Logging: the log wrapper every module of libvel writes through, and the
/// platform log sink it delivers to.

/// The platform's log sink. The hosting process provides it; libvel built with
/// VEL_DEFAULT_LOG_SINK carries a stderr fallback that the host's own definition
/// overrides. The fallback prints "vel <LEVEL> <text>" lines from the level
/// named by the environment variable VEL_LOG_LEVEL upwards: debug (every line),
/// info, warn (the default), error, or off (none).
///
/// libvel calls it once per finished message, with the format "%s" and the
/// message text.
/// @param file      source path of the log wrapper
/// @param function  function of the log wrapper that delivers the line
/// @param line      line code that goes with the severity
/// @param severity  severity code: 0xE0 fatal, 0xC0 error, 0xA0 warning,
///                  0x80 info, 0x40 debug, 0x20 verbose, 0x60 anything else
/// @param module    module code of libvel (0xB00)
/// @param option    always 0
/// @param format    printf-style format of the rest of the arguments
extern "C" void vw_log_print(const char* file, const char* function, int line, int severity, int module,
                             int option, const char* format, ...);

/// Logging of libvel and of the processes that use it.
namespace orna {

/// Process-wide log front end: builds one message at a time from typed pieces and
/// hands each finished message to vw_log_print. The mutex is held from init() to
/// send(), so messages from different threads never mix.
class OrnaLogWrapper {
public:
    /// The one wrapper of the process, created on the first call and never
    /// destroyed. The first call is expected during single-threaded start-up.
    /// @param noDLT true delivers every message to vw_log_print (what every
    ///              caller in libvel passes); it is set again on every call.
    static OrnaLogWrapper* instance(bool noDLT);
    /// Never runs in practice: the wrapper lives until the process ends.
    virtual ~OrnaLogWrapper();

    /// Turns delivery to vw_log_print on (true) or off (false).
    void enableNoDLTDebug(bool enable);

    /// Records a log application id; a repeated id is ignored with a debug line.
    /// @param appId       application id, up to four characters by convention
    /// @param description what the application is
    void registerApp(const std::string& appId, const std::string& description);
    /// Records a module's log context under its id and copies the id into the
    /// record; a repeated id is ignored with a debug line.
    /// @param context     the module's context record, which must outlive its use
    /// @param contextId   context id, four characters by convention
    /// @param description what the module is
    void registerContext(DltContext& context, const std::string& contextId, const std::string& description);
    /// Forgets a context registered with registerContext().
    void unregisterContext(DltContext& context);

    /// Begins a message at the given level and takes the wrapper's mutex, which
    /// send() releases. Prefer orna::log(), which cannot leave it taken.
    void init(DltLogLevelType level, DltContext* context);
    /// Appends a number as a decimal integer.
    void append(signed char value);
    /// Appends a number as a decimal integer.
    void append(unsigned char value);
    /// Appends the character itself.
    void append(char value);
    /// Appends a number in decimal.
    void append(short value);
    /// Appends a number in decimal.
    void append(unsigned short value);
    /// Appends a number in decimal.
    void append(int value);
    /// Appends a number in decimal.
    void append(unsigned int value);
    /// Appends a number in decimal.
    void append(long value);
    /// Appends a number in decimal.
    void append(unsigned long value);
    /// Appends a number in decimal.
    void append(long long value);
    /// Appends a number in decimal.
    void append(unsigned long long value);
    /// Appends 1 for true and 0 for false.
    void append(bool value);
    /// Appends a number with the stream's default formatting.
    void append(double value);
    /// Appends a text; a null pointer appends nothing and leaves the rest of
    /// the message intact.
    void append(const char* value);
    /// Appends a text.
    void append(const std::string& value);
    /// Appends a pointer's address.
    void append(const void* value);
    /// Delivers the message built since init() as one line to vw_log_print and
    /// releases the mutex.
    void send();
    /// Does nothing; returns 0.
    int deinit();

    /// Not copyable: there is one wrapper per process.
    OrnaLogWrapper(const OrnaLogWrapper&) = delete;
    /// Not copyable: there is one wrapper per process.
    OrnaLogWrapper& operator=(const OrnaLogWrapper&) = delete;

private:
    explicit OrnaLogWrapper(bool noDLT);

    bool registerApp_l(const std::string& appId, const std::string& description);
    bool registerContext_l(DltContext& context, const std::string& contextId, const std::string& description);
    bool unregisterContext_l(DltContext& context);
    void send_trc();
    // Writes one of the wrapper's own lines while mMutex is already held.
    void emitOwnLine_l(DltLogLevelType level, const std::string& text);

    bool mNoDLT;
    char mFirstContextId[4];
    std::ostringstream mStream;
    DltLogLevelType mLevel;
    char* mpFirstContextDescription;
    std::list<std::string> mAppIds;
    std::list<std::string> mContextIds;

    static OrnaLogWrapper* mpDLTWrapper;
    static std::mutex mMutex;
};

/// Builds one log line from the pieces, in order, with nothing between them,
/// and delivers it. Separators and blanks are part of the pieces' texts.
/// @param context the module's registered log context
/// @param level   the line's level (DLT_LOG_ERROR, DLT_LOG_INFO, ...)
/// @param pieces  values that OrnaLogWrapper::append() accepts
///
/// Must not be called while a message is being built on the same thread (the
/// wrapper's mutex is not recursive), e.g. from inside vw_log_print.
template <typename... Pieces>
void log(DltContext* context, DltLogLevelType level, const Pieces&... pieces)
{
    OrnaLogWrapper* wrapper = OrnaLogWrapper::instance(true);
    // A line nobody reads is dropped before any piece is formatted.
    if (!isLogLevelEnabled(context, level)) {
        return;
    }
    wrapper->init(level, context);
    try {
        (wrapper->append(pieces), ...);
    } catch (...) {
        // A piece that cannot be formatted must not leave the mutex locked.
    }
    wrapper->send();
}

} // namespace orna
