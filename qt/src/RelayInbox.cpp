// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RelayInbox.h"

#include <QMetaObject>

VelQtRelayInbox::VelQtRelayInbox(VelQtApplicationClient::Private& client, QObject* parent)
    : QObject(parent), mClient(client)
{
}

void VelQtRelayInbox::push(Call call)
{
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        wake = mCalls.empty();
        mCalls.push_back(std::move(call));
    }
    if (wake) {
        QMetaObject::invokeMethod(this, "drain", Qt::QueuedConnection);
    }
}

void VelQtRelayInbox::drain()
{
    std::deque<Call> calls;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        calls.swap(mCalls);
    }
    for (Call& call : calls) {
        call(mClient);
    }
}
