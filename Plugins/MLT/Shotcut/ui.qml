// The panel of the motion tracker: where the object is in the first frame, Analyze, and what
// is drawn.
import QtQuick 2.12
import QtQuick.Controls 2.12
import QtQuick.Layouts 1.12
import Shotcut.Controls 1.0 as Shotcut

Item {
    id: tracker

    function showStatus(isRunning) {
        if (isRunning)
            status.text = qsTr('Analyzing...');
        else if (filter.get('results').indexOf('=') !== -1)
            status.text = qsTr('Analysis complete.');
        else
            status.text = qsTr('Give the rectangle in the first frame, and click Analyze.');
    }

    function placeChanged() {
        filter.set('rect', [x.value, y.value, w.value, h.value].join(' '));
        filter.set('results', '');
        showStatus(false);
    }

    width: 350
    height: 300
    Component.onCompleted: {
        if (filter.isNew)
            filter.set('rect', [profile.width / 4, profile.height / 4, profile.width / 2, profile.height / 2].join(' '));
        var sides = filter.get('rect').split(' ');
        x.value = sides[0];
        y.value = sides[1];
        w.value = sides[2];
        h.value = sides[3];
        shape.currentIndex = filter.get('shape');
        line.value = filter.get('shape_width');
        blur.value = filter.get('blur');
        blurType.currentIndex = filter.get('blur_type');
        showStatus(false);
    }

    Connections {
        function onAnalyzeFinished() {
            filter.set('reload', 1);
            tracker.showStatus(false);
        }

        target: filter
    }

    GridLayout {
        columns: 2
        anchors.fill: parent
        anchors.margins: 8

        Label { text: qsTr('X') }
        Shotcut.SliderSpinner { id: x; maximumValue: profile.width; onValueChanged: placeChanged() }
        Label { text: qsTr('Y') }
        Shotcut.SliderSpinner { id: y; maximumValue: profile.height; onValueChanged: placeChanged() }
        Label { text: qsTr('Width') }
        Shotcut.SliderSpinner { id: w; minimumValue: 1; maximumValue: profile.width; onValueChanged: placeChanged() }
        Label { text: qsTr('Height') }
        Shotcut.SliderSpinner { id: h; minimumValue: 1; maximumValue: profile.height; onValueChanged: placeChanged() }
        Shotcut.Button {
            text: qsTr('Analyze')
            onClicked: {
                filter.getHash();
                tracker.showStatus(true);
                filter.analyze();
            }
        }
        Label { id: status }
        Label { text: qsTr('Shape') }
        Shotcut.ComboBox {
            id: shape
            model: [qsTr('Rectangle'), qsTr('Ellipse'), qsTr('Arrow')]
            onActivated: filter.set('shape', index)
        }
        Label { text: qsTr('Line') }
        Shotcut.SliderSpinner {
            id: line
            minimumValue: -1
            maximumValue: 100
            onValueChanged: filter.set('shape_width', value)
        }
        Label { text: qsTr('Blur') }
        Shotcut.SliderSpinner {
            id: blur
            maximumValue: 200
            onValueChanged: filter.set('blur', value)
        }
        Label { text: qsTr('Blur type') }
        Shotcut.ComboBox {
            id: blurType
            model: [qsTr('Median'), qsTr('Gaussian'), qsTr('Pixelate'), qsTr('Fill'), qsTr('None')]
            onActivated: filter.set('blur_type', index)
        }
        Item { Layout.fillHeight: true }
    }
}
