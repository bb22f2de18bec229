#pragma once

namespace pivex {

/// From now on the control that has the keyboard focus bears a bright frame, in every window of the
/// application. The frame comes with the first focus that is moved by a key and goes with the first
/// that is moved by the mouse, so that whoever uses the mouse alone never sees it.
void markKeyboardFocus();

} // namespace pivex
