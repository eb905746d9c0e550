import QtQuick 2.15

// One of several.
Row {
    id: choice
    property string text
    property bool checked
    signal chosen()

    spacing: 8
    activeFocusOnTab: true
    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.focusable: true
    Accessible.onPressAction: chosen()
    Keys.onSpacePressed: chosen()

    SystemPalette { id: palette }

    Rectangle {
        width: label.implicitHeight
        height: width
        radius: width / 2
        color: palette.base
        border.width: choice.activeFocus ? 2 : 1
        border.color: choice.activeFocus ? palette.highlight : palette.windowText

        Rectangle {
            anchors.centerIn: parent
            visible: choice.checked
            width: parent.width / 2
            height: width
            radius: width / 2
            color: palette.windowText
        }
        MouseArea { anchors.fill: parent; onClicked: choice.chosen() }
    }
    Text {
        id: label
        text: choice.text
        textFormat: Text.PlainText
        color: palette.windowText
        MouseArea { anchors.fill: parent; onClicked: choice.chosen() }
    }
}
