import QtQuick 2.15

// A button that follows and triggers an action; without one it has its own label and tells that it was pressed.
Rectangle {
    id: button

    property QtObject action: null
    property bool isDefault: false
    // An action's text marks its letter for the keyboard, and doubles what is no mark.
    property string label: action ? action.text.replace(/&(.)/g, "$1") : ""

    signal pressed()

    function press() {
        if (!enabled)
            return;
        if (action)
            action.trigger();
        pressed();
    }

    objectName: action ? action.objectName : ""
    visible: action !== null && action.visible && label !== ""
    enabled: action !== null && action.enabled
    activeFocusOnTab: true
    implicitWidth: Math.max(caption.implicitWidth + 28, caption.implicitHeight * 4.5)
    implicitHeight: caption.implicitHeight + 14
    radius: 3
    color: mouse.pressed ? palette.midlight : isDefault && enabled ? palette.highlight : palette.button
    border.width: activeFocus ? 2 : 1
    border.color: activeFocus ? palette.windowText : palette.mid
    opacity: enabled ? 1 : 0.55

    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.focusable: true
    Accessible.onPressAction: press()
    Keys.onSpacePressed: press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    SystemPalette { id: palette }

    Text {
        id: caption
        anchors.centerIn: parent
        text: button.label
        textFormat: Text.PlainText
        color: button.isDefault && button.enabled && !mouse.pressed ? palette.highlightedText : palette.buttonText
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        onClicked: {
            button.forceActiveFocus(Qt.MouseFocusReason);
            button.press();
        }
    }
}
