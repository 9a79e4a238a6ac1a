// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QObject>

#include <deque>
#include <functional>
#include <mutex>

#include "velqt/VelQtApplicationClient.h"

// The hand-off from other threads to a client's thread. Calls are queued
// under a mutex of our own and drained on the client's thread; Qt only
// carries the wake-up (a queued call of drain() by name, made inside QtCore),
// never the data. So the hand-off's ordering is the mutex's, which
// ThreadSanitizer sees, and not Qt's internal locking, which it cannot.
class VelQtRelayInbox : public QObject {
    Q_OBJECT

public:
    using Call = std::function<void(VelQtApplicationClient::Private&)>;

    VelQtRelayInbox(VelQtApplicationClient::Private& client, QObject* parent);

    // Any thread: queues `call` and wakes the client's thread if the queue was empty.
    void push(Call call);

public Q_SLOTS:
    // The client's thread: runs every queued call in order.
    void drain();

private:
    VelQtApplicationClient::Private& mClient;
    std::mutex mMutex;
    std::deque<Call> mCalls;
};
