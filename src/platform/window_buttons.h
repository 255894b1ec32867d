// Enter and Esc as the classic forms have them.
//
// - Enter (Return or the keypad's Enter) on a focused button presses that button, in every window.
// - A window's default button is pressed by Enter wherever the focus is in that window, except in a
//   multi-line box (where Enter starts a new line) and on another button (which Enter presses instead).
// - A window's cancel button is pressed by Esc wherever the focus is in that window.
// A disabled or hidden default or cancel button is not pressed. One application-wide filter does this
// for every window, installed the first time a window names its buttons (InstallEnterOnButtons installs
// it on its own for the windows that name none).
#pragma once

class QAbstractButton;
class QWidget;

namespace vb {

void InstallEnterOnButtons();
void SetDefaultButton(QWidget* window, QAbstractButton* button);
void SetCancelButton(QWidget* window, QAbstractButton* button);

} // namespace vb
