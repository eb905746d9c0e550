import QtQuick 2.15
import com.tessarine.content 1.0

// An ordinary widget and nothing else.
Item {
    implicitWidth: hosted.implicitWidth
    implicitHeight: hosted.implicitHeight

    HostedWidget {
        id: hosted
        anchors.fill: parent
        widget: contentInfo.widget
    }
}
