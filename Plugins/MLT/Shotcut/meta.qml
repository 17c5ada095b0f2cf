import QtQuick 2.0
import org.shotcut.qml 1.0

Metadata {
    type: Metadata.Filter
    name: qsTr("Motion Tracker (descriptor)")
    keywords: qsTr("track follow blur object") + " descriptor.tracker"
    mlt_service: "descriptor.tracker"
    objectName: "descriptor.tracker"
    qml: "ui.qml"
    isClipOnly: true
    allowMultiple: true
    isGpuCompatible: false

    keyframes {
        allowTrim: false
    }
}
