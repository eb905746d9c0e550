import QtQuick 2.15

// The usual look of a page: its title above, what is inside below.
Item {
    id: page

    property string pageTitle
    default property alias content: inside.data

    implicitWidth: Math.max(inside.childrenRect.width, 300) + 40
    implicitHeight: title.implicitHeight + inside.implicitHeight + 52
    Accessible.role: Accessible.Pane
    Accessible.name: pageTitle

    SystemPalette { id: palette }
    FontMetrics { id: metrics }

    Text {
        id: title
        objectName: "title"
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 20 }
        text: page.pageTitle
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        maximumLineCount: 3
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignLeft
        color: palette.windowText
        font.bold: true
        font.pixelSize: metrics.height * 1.15
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Item {
        id: inside
        implicitHeight: childrenRect.height
        anchors { left: parent.left; right: parent.right; top: title.bottom; bottom: parent.bottom; margins: 20; topMargin: 12 }
    }
}
