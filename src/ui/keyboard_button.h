#pragma once

class QAbstractButton;

namespace quorlen {

// Makes a painted button reachable by Tab and pressable with Space (Qt's
// own, kept from window shortcuts while the button has focus) and with
// Return or Enter, as on any push button. The button draws
// its focus ring itself (paintFocusRing).
void makeKeyboardButton(QAbstractButton* button);

} // namespace quorlen
