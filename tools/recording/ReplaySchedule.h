// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <glib.h>

#include <cstdint>
#include <string>
#include <vector>

#include "RecordingFormat.h"

// When a replay sends what: every recorded call with its answer and the
// signals that followed it, and the signals recorded before any call. The
// recording must have been read (and so checked) by parseRecording.

namespace velrec {

// A recorded call, its answer and the signals that followed it.
struct RecordedCall {
    const Event* call = nullptr;
    const Event* answer = nullptr;
    std::vector<const Event*> signals;
    bool consumed = false;
};

class ReplaySchedule {
public:
    // Keeps pointers into the recording, which must outlive the schedule.
    explicit ReplaySchedule(const Recording& recording);

    std::size_t callCount() const { return mCalls.size(); }
    const std::vector<const Event*>& startSignals() const { return mStartSignals; }
    // The time of the last event, or of the start when there is none.
    std::int64_t lastNs() const { return mLastNs; }

    // The recorded call that answers a call to `member` with `args`: the next
    // unconsumed one with equal arguments (equalArgs), else the next
    // unconsumed one of the method, else its last one; nullptr when the
    // recording has no call to the method.
    RecordedCall* findCounterpart(const std::string& member, const std::string& args, bool& equalArgs);
    // Every recorded call available once more (a looping replay).
    void restart();

    // A recorded distance on the local clock, in microseconds, at `speed`.
    static gint64 scaledUs(std::int64_t recordedNs, double speed);
    // Milliseconds for a GLib timeout, rounded up and capped.
    static guint timeoutMs(gint64 us);
    // The event's arguments as a value of its signature (a new reference),
    // or nullptr when they do not parse.
    static GVariant* argsValue(const Event& event);

private:
    std::vector<RecordedCall> mCalls;
    std::vector<const Event*> mStartSignals;
    std::int64_t mLastNs = 0;
};

} // namespace velrec
