import QtQuick 2.15

// Below everything that a content view shows.
Rectangle {
    SystemPalette { id: palette }
    color: palette.window
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    Item {
        objectName: "contentContainer"
        anchors.fill: parent
    }
}
