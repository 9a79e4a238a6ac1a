// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ReplaySchedule.h"

#include <algorithm>

namespace velrec {

ReplaySchedule::ReplaySchedule(const Recording& recording) : mLastNs(recording.header.monoNs)
{
    // Room for every call at once: the lists below keep pointers into it.
    mCalls.reserve(recording.events.size());
    RecordedCall* lastCall = nullptr;
    for (const Event& event : recording.events) {
        mLastNs = std::max(mLastNs, event.monoNs);
        switch (event.kind) {
        case EventKind::Call:
            mCalls.push_back(RecordedCall{&event, nullptr, {}, false});
            lastCall = &mCalls.back();
            break;
        case EventKind::Reply:
        case EventKind::Error:
            for (auto call = mCalls.rbegin(); call != mCalls.rend(); ++call) {
                if (call->answer == nullptr && call->call->serial == event.replySerial &&
                    call->call->sender == event.destination) {
                    call->answer = &event;
                    break;
                }
            }
            break;
        case EventKind::Signal:
            if (lastCall != nullptr) {
                lastCall->signals.push_back(&event);
            } else {
                mStartSignals.push_back(&event);
            }
            break;
        }
    }
}

RecordedCall* ReplaySchedule::findCounterpart(const std::string& member, const std::string& args, bool& equalArgs)
{
    RecordedCall* sameMethod = nullptr;
    RecordedCall* lastOfMethod = nullptr;
    for (RecordedCall& call : mCalls) {
        if (call.call->member != member) {
            continue;
        }
        lastOfMethod = &call;
        if (call.consumed) {
            continue;
        }
        if (call.call->args == args) {
            equalArgs = true;
            return &call;
        }
        if (sameMethod == nullptr) {
            sameMethod = &call;
        }
    }
    equalArgs = false;
    return sameMethod != nullptr ? sameMethod : lastOfMethod;
}

void ReplaySchedule::restart()
{
    for (RecordedCall& call : mCalls) {
        call.consumed = false;
    }
}

gint64 ReplaySchedule::scaledUs(std::int64_t recordedNs, double speed)
{
    const double us = static_cast<double>(recordedNs) / 1000.0 / speed;
    // Within what a timeout can wait, whatever the distance and speed.
    constexpr double kLongest = static_cast<double>(G_MAXINT64 / 4);
    return static_cast<gint64>(std::max(-kLongest, std::min(us, kLongest)));
}

guint ReplaySchedule::timeoutMs(gint64 us)
{
    return static_cast<guint>(std::max<gint64>(0, std::min<gint64>((us + 999) / 1000, G_MAXUINT)));
}

GVariant* ReplaySchedule::argsValue(const Event& event)
{
    if (!g_variant_is_signature(event.signature.c_str())) {
        return nullptr;
    }
    const std::string type = "(" + event.signature + ")";
    return g_variant_parse(G_VARIANT_TYPE(type.c_str()), event.args.c_str(), nullptr, nullptr, nullptr);
}

} // namespace velrec
