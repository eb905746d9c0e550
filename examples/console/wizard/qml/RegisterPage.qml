import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage
    SystemPalette { id: palette }

    Column {
        spacing: 12
        Text {
            objectName: "registerNote"
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
            visible: true
            enabled: page && !page.registered
            label: qsTr("Register now")
            onPressed: page.registerMachine()
        }
    }
}
