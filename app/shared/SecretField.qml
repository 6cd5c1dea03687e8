import QtQuick
import Harbor

/// A field for a secret, which is neither drawn nor told to a screen reader.
Field {
    id: root

    property string secret
    // The value that Qt tells a screen reader is the property of this name, whatever the echo mode.
    readonly property string text: displayText

    /// The user has changed it.
    signal secretEdited(string secret)

    echoMode: TextInput.Password
    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText
    // Qt sets it when a screen reader comes, and then keeps the name back. The echo mode alone makes it a password.
    Accessible.onPasswordEditChanged: Accessible.passwordEdit = false
    onSecretChanged: if (secret !== typed()) {
        clear()
        insert(0, secret)
    }
    onTextEdited: secretEdited(typed())

    function typed(): string {
        return getText(0, length)
    }
}
