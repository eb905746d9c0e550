import QtQuick 2.15
import QtQuick.Layouts 1.15
import com.tessarine.wizard 1.0

// The frame around a wizard's pages: the place for the page, and the buttons.
FocusScope {
    id: frame

    readonly property QtObject ctrl: contentProvider.wizardCtrl
    readonly property QtObject model: contentProvider.wizardModel
    readonly property QtObject help: ctrl.wizardAction(WizardActions.Help)
    readonly property QtObject next: ctrl.wizardAction(WizardActions.Next)
    readonly property QtObject finish: ctrl.wizardAction(WizardActions.Finish)

    implicitWidth: Math.max(pageArea.implicitWidth, buttons.implicitWidth) + 24
    implicitHeight: pageArea.implicitHeight + bar.height + buttons.implicitHeight + 36
    focus: true

    // Return goes on, wherever nothing else takes it.
    function goOn() {
        const action = next.visible ? next : finish;
        if (action.visible && action.enabled)
            action.trigger();
    }
    // For a page with nothing to enter.
    function focusDefault() {
        for (let i = 0; i < buttonRow.count; ++i) {
            const button = buttonRow.itemAt(i);
            if (button.isDefault && button.visible && button.enabled) {
                button.forceActiveFocus(Qt.OtherFocusReason);
                return;
            }
        }
        frame.forceActiveFocus(Qt.OtherFocusReason);
    }
    Keys.onReturnPressed: goOn()
    Keys.onEnterPressed: goOn()

    SystemPalette { id: palette }

    Item {
        id: pageArea
        objectName: "wizardContentArea"
        clip: true
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: bar.top }
    }

    // The line above the buttons; a light runs along it while the wizard is busy.
    Rectangle {
        id: bar
        anchors { left: parent.left; right: parent.right; bottom: buttons.top; bottomMargin: 12 }
        height: 2
        color: palette.mid
        clip: true

        Rectangle {
            objectName: "busyLight"
            visible: frame.model !== null && frame.model.busy
            width: parent.width / 4
            height: parent.height
            color: palette.highlight
            Accessible.role: Accessible.ProgressBar
            Accessible.name: qsTr("Busy")
            NumberAnimation on x {
                from: -bar.width / 4
                to: bar.width
                duration: 1400
                loops: Animation.Infinite
                running: frame.model !== null && frame.model.busy
            }
        }
    }

    RowLayout {
        id: buttons
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 12 }
        spacing: 8

        WizardButton { action: frame.help }
        Item { Layout.fillWidth: true }
        Repeater {
            id: buttonRow
            model: contentProvider.wizardActions
            delegate: WizardButton {
                action: modelData === frame.help ? null : modelData
                isDefault: modelData === frame.next || modelData === frame.finish
            }
        }
    }
}
