// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/OrnaLogWrapper.h"

#include "line_buffer.h"
#include "log_backend.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace orna {

namespace {

constexpr const char* kSourcePath = "common/log/log_wrapper.cpp";
constexpr int kModuleCode = 0xB00;
constexpr const char* kOwnTag = "[VELLOG][OrnaLogWrapper] ";

struct SinkCode {
    int severity;
    int line;
};

SinkCode sinkCodeFor(DltLogLevelType level)
{
    switch (level) {
    case DLT_LOG_FATAL:
        return {0xE0, 170};
    case DLT_LOG_ERROR:
        return {0xC0, 164};
    case DLT_LOG_WARN:
        return {0xA0, 167};
    case DLT_LOG_INFO:
        return {0x80, 161};
    case DLT_LOG_DEBUG:
        return {0x40, 158};
    case DLT_LOG_VERBOSE:
        return {0x20, 173};
    default:
        return {0x60, 177};
    }
}

void deliver(DltLogLevelType level, const char* text)
{
    const SinkCode code = sinkCodeFor(level);
    vw_log_print(kSourcePath, "send_trc", code.line, code.severity, kModuleCode, 0, "%s", text);
}

// The message stream writes here; guarded by the wrapper's mutex like the
// stream. Never destroyed, as static destructors may still log.
vel_log::LineBuffer& lineBuffer()
{
    static auto* buffer = new vel_log::LineBuffer();
    return *buffer;
}

// Texts and integers go straight into the line: they are most of every line,
// and the stream's formatting machinery (sentry, locale facets) cost more
// than the digits themselves. The text is the stream's default formatting
// in the classic locale; like the stream, a bad stream writes nothing.
void appendText(std::ostream& stream, const char* text, std::size_t length)
{
    if (stream.good()) {
        lineBuffer().sputn(text, static_cast<std::streamsize>(length));
    }
}

template <typename Integer>
void appendInteger(std::ostream& stream, Integer value)
{
    char digits[24];
    const std::to_chars_result written = std::to_chars(digits, digits + sizeof(digits), value);
    appendText(stream, digits, static_cast<std::size_t>(written.ptr - digits));
}

} // namespace

OrnaLogWrapper* OrnaLogWrapper::mpDLTWrapper = nullptr;
std::mutex OrnaLogWrapper::mMutex;

OrnaLogWrapper* OrnaLogWrapper::instance(bool noDLT)
{
    if (mpDLTWrapper == nullptr) {
        mpDLTWrapper = new OrnaLogWrapper(noDLT);
    }
    if (noDLT) {
        mpDLTWrapper->enableNoDLTDebug(true);
    }
    return mpDLTWrapper;
}

OrnaLogWrapper::OrnaLogWrapper(bool noDLT)
    : mNoDLT(noDLT), mFirstContextId{0, 0, 0, 0}, mLevel(DLT_LOG_INFO), mpFirstContextDescription(nullptr)
{
    // Keeps the stream's formatting and state, writes into storage that
    // lives from line to line.
    static_cast<std::ostream&>(mStream).rdbuf(&lineBuffer());
    vw_log_print(kSourcePath, "OrnaLogWrapper", 305, 0x80, kModuleCode, 0, "%s", "Running with TRACE");
}

OrnaLogWrapper::~OrnaLogWrapper()
{
    delete[] mpFirstContextDescription;
}

void OrnaLogWrapper::enableNoDLTDebug(bool enable)
{
    // Every instance(true) call stores the flag, from any thread, while
    // messages read it: the flag is accessed atomically.
    __atomic_store_n(&mNoDLT, enable, __ATOMIC_RELAXED);
}

void OrnaLogWrapper::emitOwnLine_l(DltLogLevelType level, const std::string& text)
{
    if (__atomic_load_n(&mNoDLT, __ATOMIC_RELAXED) && isLogLevelEnabled(nullptr, level)) {
        deliver(level, (kOwnTag + text).c_str());
    }
}

void OrnaLogWrapper::registerApp(const std::string& appId, const std::string& description)
{
    std::lock_guard<std::mutex> lock(mMutex);
    if (std::find(mAppIds.begin(), mAppIds.end(), appId) != mAppIds.end()) {
        emitOwnLine_l(DLT_LOG_DEBUG, "@@@ WARN. Duplicated appid:" + appId);
        return;
    }
    mAppIds.push_back(appId);
    registerApp_l(appId, description);
}

void OrnaLogWrapper::registerContext(DltContext& context, const std::string& contextId, const std::string& description)
{
    std::lock_guard<std::mutex> lock(mMutex);
    if (std::find(mContextIds.begin(), mContextIds.end(), contextId) != mContextIds.end()) {
        emitOwnLine_l(DLT_LOG_DEBUG, "@@@ WARN. Duplicated contextid:" + contextId);
        return;
    }
    mContextIds.push_back(contextId);
    emitOwnLine_l(DLT_LOG_DEBUG, "contextid:" + contextId);
    registerContext_l(context, contextId, description);
}

void OrnaLogWrapper::unregisterContext(DltContext& context)
{
    std::lock_guard<std::mutex> lock(mMutex);
    const std::string contextId(context.contextID, strnlen(context.contextID, sizeof(context.contextID)));
    auto found = std::find(mContextIds.begin(), mContextIds.end(), contextId);
    if (found != mContextIds.end()) {
        emitOwnLine_l(DLT_LOG_DEBUG, "Found. Earse this.");
        mContextIds.erase(found);
        unregisterContext_l(context);
    }
}

bool OrnaLogWrapper::registerApp_l(const std::string&, const std::string&)
{
    return true;
}

bool OrnaLogWrapper::registerContext_l(DltContext& context, const std::string& contextId, const std::string& description)
{
    std::memset(context.contextID, 0, sizeof(context.contextID));
    std::memcpy(context.contextID, contextId.data(), std::min(contextId.size(), sizeof(context.contextID)));
    if (mFirstContextId[0] == '\0') {
        std::memcpy(mFirstContextId, context.contextID, sizeof(mFirstContextId));
        if (description.size() < 2000) {
            delete[] mpFirstContextDescription;
            mpFirstContextDescription = new char[description.size() + 1];
            std::memcpy(mpFirstContextDescription, description.c_str(), description.size() + 1);
        }
    }
    return true;
}

bool OrnaLogWrapper::unregisterContext_l(DltContext&)
{
    return true;
}

void OrnaLogWrapper::init(DltLogLevelType level, DltContext* context)
{
    mMutex.lock();
    setCurrentLogContext(context);
    if (__atomic_load_n(&mNoDLT, __ATOMIC_RELAXED)) {
        mLevel = level;
    }
}

void OrnaLogWrapper::append(signed char value) { mStream << value; }
void OrnaLogWrapper::append(unsigned char value) { mStream << value; }
void OrnaLogWrapper::append(char value) { mStream << value; }
void OrnaLogWrapper::append(short value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(unsigned short value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(int value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(unsigned int value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(long value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(unsigned long value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(long long value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(unsigned long long value) { appendInteger(mStream, value); }
void OrnaLogWrapper::append(bool value) { appendText(mStream, value ? "1" : "0", 1); }
void OrnaLogWrapper::append(double value) { mStream << value; }
void OrnaLogWrapper::append(const std::string& value) { appendText(mStream, value.data(), value.size()); }
void OrnaLogWrapper::append(const void* value) { mStream << value; }

void OrnaLogWrapper::append(const char* value)
{
    // Same as the stream's own rule for a null text: nothing is written and the
    // stream goes bad until send() clears it.
    if (value == nullptr) {
        mStream.setstate(std::ios::badbit);
        return;
    }
    appendText(mStream, value, std::strlen(value));
}

void OrnaLogWrapper::send()
{
    if (__atomic_load_n(&mNoDLT, __ATOMIC_RELAXED)) {
        send_trc();
    }
    lineBuffer().reset();
    mStream.clear();
    setCurrentLogContext(nullptr);
    mMutex.unlock();
}

void OrnaLogWrapper::send_trc()
{
    deliver(mLevel, lineBuffer().text());
}

int OrnaLogWrapper::deinit()
{
    return 0;
}

} // namespace orna
