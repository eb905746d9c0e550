import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage
    SystemPalette { id: palette }

    Text {
        objectName: "summary"
        anchors.left: parent.left
        width: 320
        text: page ? page.summary : ""
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        color: palette.windowText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
