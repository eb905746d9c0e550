import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage

    Column {
        spacing: 12
        Repeater {
            model: page ? page.systems : []
            Choice { objectName: "system" + index; text: modelData; checked: page && page.system === index; onChosen: page.system = index }
        }
    }
}
