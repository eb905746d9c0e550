import QtQuick 2.15
import "qrc:/qml"

WizardPage {
    readonly property QtObject page: contentParams.wizardPage
    SystemPalette { id: palette }

    Rectangle {
        anchors.left: parent.left
        width: 280
        height: 18
        color: palette.base
        border.color: palette.mid
        Accessible.role: Accessible.ProgressBar
        Accessible.name: qsTr("Written: %1 percent").arg(page ? page.progress : 0)

        Rectangle {
            anchors.left: parent.left
            height: parent.height
            width: page ? parent.width * page.progress / 100 : 0
            color: palette.highlight
        }
    }
}
