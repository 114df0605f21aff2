// The Northwind Coffee shop in QML: a product list, a cart and "Place order", which raises the
// checkout survey's trigger. The survey overlay comes last, over everything; the status line
// tells when a survey shows and when it is done.
import QtQuick
import VLQ.Surveys

Window {
    id: window
    width: 1280
    height: 800
    visible: true
    title: "Northwind Coffee"
    color: "#f6f3ee"

    ListModel {
        id: products
        ListElement { name: "Espresso beans, 1 kg"; price: 24.90 }
        ListElement { name: "Filter roast, 500 g"; price: 14.50 }
        ListElement { name: "Milk frother"; price: 39.00 }
        ListElement { name: "Ceramic mug"; price: 12.50 }
        ListElement { name: "Pour-over kettle"; price: 54.00 }
        ListElement { name: "Paper filters, 100"; price: 4.90 }
    }
    ListModel {
        id: cart
        ListElement { name: "Espresso beans, 1 kg"; price: 24.90 }
        ListElement { name: "Ceramic mug"; price: 12.50 }
    }

    function money(value) { return "$" + value.toFixed(2) }
    function total() {
        let sum = 0
        for (let i = 0; i < cart.count; ++i) sum += cart.get(i).price
        return sum
    }

    component Heading: Text { font.pixelSize: 22; font.bold: true; color: "#3b2a20" }
    component ShopButton: Rectangle {
        id: button
        property alias text: label.text
        property bool enabled: true
        signal clicked()
        height: 44
        radius: 6
        color: !enabled ? "#c9bfb5" : area.pressed ? "#5a3b27" : "#6f4a31"
        Text { id: label; anchors.centerIn: parent; color: "white"; font.pixelSize: 16 }
        MouseArea { id: area; anchors.fill: parent; enabled: button.enabled; onClicked: button.clicked() }
    }

    Row {
        anchors.fill: parent
        anchors.margins: 24
        anchors.bottomMargin: 56
        spacing: 24

        Column {
            width: (parent.width - parent.spacing) * 0.6
            height: parent.height
            spacing: 12
            Heading { text: "Northwind Coffee" }
            ListView {
                id: shelf
                width: parent.width
                height: parent.height - 120
                clip: true
                model: products
                currentIndex: 0
                delegate: Rectangle {
                    required property string name
                    required property real price
                    required property int index
                    width: ListView.view.width
                    height: 48
                    color: ListView.isCurrentItem ? "#eadfd3" : "white"
                    border.color: "#e4dcd2"
                    Text { anchors.left: parent.left; anchors.leftMargin: 14; anchors.verticalCenter: parent.verticalCenter; text: name; font.pixelSize: 16 }
                    Text { anchors.right: parent.right; anchors.rightMargin: 14; anchors.verticalCenter: parent.verticalCenter; text: window.money(price); font.pixelSize: 16 }
                    MouseArea { anchors.fill: parent; onClicked: shelf.currentIndex = index; onDoubleClicked: cart.append(products.get(index)) }
                }
            }
            ShopButton {
                width: parent.width
                text: "Add to cart"
                onClicked: cart.append(products.get(shelf.currentIndex))
            }
        }

        Column {
            width: (parent.width - parent.spacing) * 0.4
            height: parent.height
            spacing: 12
            Heading { text: "Your cart" }
            ListView {
                width: parent.width
                height: parent.height - 160
                clip: true
                model: cart
                delegate: Text {
                    required property string name
                    required property real price
                    width: ListView.view.width
                    height: 36
                    verticalAlignment: Text.AlignVCenter
                    text: name + "    " + window.money(price)
                    font.pixelSize: 16
                }
            }
            Text { text: "Total: " + window.money(window.total()); font.pixelSize: 18 }
            ShopButton {
                objectName: "placeOrder"
                width: parent.width
                text: "Place order"
                enabled: cart.count > 0
                onClicked: {
                    cart.clear()
                    status.text = "Order placed. Thank you!"
                    // The moment the checkout survey is for.
                    shop.placeOrder()
                }
            }
        }
    }

    Text {
        id: status
        objectName: "status"
        anchors.left: parent.left
        anchors.bottom: parent.bottom
        anchors.margins: 16
        text: "Welcome back"
        color: "#6b5d52"
        font.pixelSize: 14
    }

    // Surveys over the whole window.
    SurveyOverlay {
        objectName: "surveys"
        anchors.fill: parent
        onSurveyShown: (surveyId) => status.text = "Survey shown: " + surveyId
        onSurveyFinished: (surveyId) => status.text = "Survey finished: " + surveyId
    }
}
