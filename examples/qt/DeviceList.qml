// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

import QtQuick

// One device list: a title and a row per device (name, deviceId, connect).
Column {
    id: list
    property alias model: view.model
    property string title
    signal connectRequested(string deviceId)
    spacing: 6

    Text {
        text: list.title + " (" + view.count + ")"
        color: "#8b949e"; font.pixelSize: 16
    }

    ListView {
        id: view
        width: parent.width
        height: Math.max(contentHeight, 40)
        interactive: false
        spacing: 6
        // Rows slide in and out: the model reports single inserts, removals
        // and moves, never a reset.
        add: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 200 } }
        displaced: Transition { NumberAnimation { properties: "y"; duration: 200 } }
        move: Transition { NumberAnimation { properties: "y"; duration: 200 } }

        delegate: Rectangle {
            required property string deviceId
            required property string name
            width: ListView.view.width
            height: 56
            radius: 8
            color: "#1c2430"

            Column {
                anchors.left: parent.left
                anchors.leftMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                Text { text: name.length > 0 ? name : "(no name)"; color: "#e6edf3"; font.pixelSize: 20 }
                Text { text: deviceId; color: "#8b949e"; font.pixelSize: 14; font.family: "monospace" }
            }

            Rectangle {
                anchors.right: parent.right
                anchors.rightMargin: 12
                anchors.verticalCenter: parent.verticalCenter
                width: 120; height: 36; radius: 6
                color: tap.pressed ? "#2f81f7" : "#1f6feb"
                Text { anchors.centerIn: parent; text: "Connect"; color: "white"; font.pixelSize: 16 }
                MouseArea { id: tap; anchors.fill: parent; onClicked: list.connectRequested(deviceId) }
            }
        }

        Text {
            visible: view.count === 0
            text: "none"
            color: "#6e7681"; font.pixelSize: 16
        }
    }
}
