import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage

    Column {
        anchors.left: parent.left
        spacing: 12
        Repeater {
            model: page ? page.systems : []
            Choice {
                anchors.left: parent.left
                objectName: "system" + index
                text: modelData
                checked: page && page.system === index
                onChosen: page.system = index
            }
        }
    }
}
