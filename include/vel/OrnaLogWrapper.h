#pragma once

#include <dlt/dlt_user.h>

#include <list>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

// The platform's log sink. The hosting process provides it; libvel built with
// VEL_DEFAULT_LOG_SINK carries a stderr fallback that the host's own definition
// overrides.
extern "C" void vw_log_print(const char* file, const char* function, int line, int severity, int module,
                             int option, const char* format, ...);

namespace orna {

// Process-wide log front end: builds one message at a time from typed pieces and
// hands each finished message to vw_log_print. The mutex is held from init() to
// send(), so messages from different threads never mix.
class OrnaLogWrapper {
public:
    static OrnaLogWrapper* instance(bool noDLT);
    virtual ~OrnaLogWrapper();

    void enableNoDLTDebug(bool enable);

    void registerApp(const std::string& appId, const std::string& description);
    void registerContext(DltContext& context, const std::string& contextId, const std::string& description);
    void unregisterContext(DltContext& context);

    void init(DltLogLevelType level, DltContext* context);
    void append(signed char value);
    void append(unsigned char value);
    void append(char value);
    void append(short value);
    void append(unsigned short value);
    void append(int value);
    void append(unsigned int value);
    void append(long value);
    void append(unsigned long value);
    void append(long long value);
    void append(unsigned long long value);
    void append(bool value);
    void append(double value);
    void append(const char* value);
    void append(const std::string& value);
    void append(const void* value);
    void send();
    int deinit();

    OrnaLogWrapper(const OrnaLogWrapper&) = delete;
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

// Builds one log line from the pieces, in order, with nothing between them.
template <typename... Pieces>
void log(DltContext* context, DltLogLevelType level, const Pieces&... pieces)
{
    OrnaLogWrapper* wrapper = OrnaLogWrapper::instance(true);
    wrapper->init(level, context);
    try {
        (wrapper->append(pieces), ...);
    } catch (...) {
        // A piece that cannot be formatted must not leave the mutex locked.
    }
    wrapper->send();
}

} // namespace orna
