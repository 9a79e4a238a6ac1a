// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

import QtQuick
import QtQuick.Window
import Vel 1.0

Window {
    id: root
    width: 800
    height: 480
    visible: true
    color: "#10151c"
    title: "Devices"

    property string lastEvent: ""

    VelApplicationClient {
        id: client
        clientName: "qml-example"
        Component.onCompleted: start()
        onConnectServiceDone: (deviceId, technology, result) => {
            root.lastEvent = "connect " + deviceId + ": result " + result
        }
        onLinkLost: (deviceId, technology, result) => { root.lastEvent = "link lost: " + deviceId }
    }

    Column {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 16

        Row {
            spacing: 12
            Rectangle {
                width: 14; height: 14; radius: 7
                anchors.verticalCenter: parent.verticalCenter
                color: client.ready ? "#3fb950" : "#d29922"
            }
            Text {
                text: client.ready ? "Device service ready" : "Waiting for the device service…"
                color: "#e6edf3"; font.pixelSize: 22
            }
        }

        DeviceList {
            width: parent.width
            title: "Paired devices"
            model: client.knownDevices
            onConnectRequested: (deviceId) => client.connectService(deviceId, 1)
        }

        DeviceList {
            width: parent.width
            title: "Discovered devices"
            model: client.discoveredDevices
            onConnectRequested: (deviceId) => client.connectService(deviceId, 1)
        }

        Text {
            text: root.lastEvent
            color: "#8b949e"; font.pixelSize: 16
        }
    }
}
