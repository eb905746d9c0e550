import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage
    SystemPalette { id: palette }

    Column {
        anchors.left: parent.left
        spacing: 12
        Text {
            objectName: "registerNote"
            anchors.left: parent.left
            width: 280
            text: page ? page.note : ""
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            color: palette.windowText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        WizardButton {
            objectName: "registerNow"
            anchors.left: parent.left
            visible: true
            enabled: page && !page.registered
            label: qsTr("Register now")
            onPressed: page.registerMachine()
        }
    }
}
