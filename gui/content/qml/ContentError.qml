import QtQuick 2.15

// Stands where a scene could not be loaded.
Item {
    property string errors
    implicitWidth: 360
    implicitHeight: column.implicitHeight + 48

    SystemPalette { id: palette }

    Column {
        id: column
        anchors { fill: parent; margins: 24 }
        spacing: 12

        Text {
            objectName: "errorTitle"
            width: parent.width
            text: qsTr("This page cannot be shown.")
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            color: palette.windowText
            font.bold: true
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        Text {
            width: parent.width
            text: errors
            textFormat: Text.PlainText
            wrapMode: Text.WrapAnywhere
            maximumLineCount: 12
            elide: Text.ElideRight
            color: palette.windowText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
