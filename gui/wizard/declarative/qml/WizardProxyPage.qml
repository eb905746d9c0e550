import QtQuick 2.15
import com.tessarine.content 1.0

// An ordinary widget as a page.
WizardPage {
    implicitWidth: hosted.implicitWidth + 40
    implicitHeight: hosted.implicitHeight + 96

    HostedWidget {
        id: hosted
        anchors.fill: parent
        widget: contentInfo.widget
    }
}
