import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage
    SystemPalette { id: palette }

    Column {
        spacing: 12
        Text { text: qsTr("Name"); textFormat: Text.PlainText; color: palette.windowText }
        Rectangle {
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
                text: page ? page.name : ""
                onTextEdited: page.name = text
                Accessible.role: Accessible.EditableText
                Accessible.name: qsTr("Name")
            }
        }
        Choice { objectName: "install"; text: qsTr("Install a system"); checked: page && !page.fromDisk; onChosen: page.fromDisk = false }
        Choice { objectName: "fromDisk"; text: qsTr("Use a disk that has one"); checked: page && page.fromDisk; onChosen: page.fromDisk = true }
    }
}
