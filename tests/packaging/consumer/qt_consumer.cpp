// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A program on the installed libvel-qt: its headers, its library and Qt's.
#include <cstdio>

#include <velqt/VelDeviceListModel.h>
#include <velqt/VelQtApplicationClient.h>

int main()
{
    VelQtApplicationClient client;
    std::printf("ready=%s roles=%d\n", client.isReady() ? "true" : "false",
                static_cast<int>(client.knownDevices()->roleNames().size()));
    return 0;
}
