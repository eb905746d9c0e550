import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage
    SystemPalette { id: palette }

    Column {
        anchors.left: parent.left
        spacing: 12
        Text {
            anchors.left: parent.left
            text: qsTr("Name")
            textFormat: Text.PlainText
            color: palette.windowText
        }
        Rectangle {
            anchors.left: parent.left
            width: 280
            height: field.implicitHeight + 12
            color: palette.base
            border.width: field.activeFocus ? 2 : 1
            border.color: field.activeFocus ? palette.highlight : palette.mid

            TextInput {
                id: field
                objectName: "machineName"
                anchors { fill: parent; margins: 6 }
                activeFocusOnTab: true
                selectByMouse: true
                clip: true
                maximumLength: 80
                color: palette.text
                selectionColor: palette.highlight
                selectedTextColor: palette.highlightedText
                horizontalAlignment: TextInput.AlignLeft
                text: page ? page.name : ""
                onTextEdited: page.name = text
                Accessible.role: Accessible.EditableText
                Accessible.name: qsTr("Name")
            }
        }
        Choice {
            anchors.left: parent.left
            objectName: "install"
            text: qsTr("Install a system")
            checked: page && !page.fromDisk
            onChosen: page.fromDisk = false
        }
        Choice {
            anchors.left: parent.left
            objectName: "fromDisk"
            text: qsTr("Use a disk that has one")
            checked: page && page.fromDisk
            onChosen: page.fromDisk = true
        }
    }
}
