#pragma once

namespace pivex {

/// Drives the Image Manager through a short scripted round without a board; prints one line to
/// the error output when something failed. Needs the application object. Here and below: true
/// when all passed.
bool linuxImageSmoke();

/// The same for the Font Manager.
bool linuxFontSmoke();

/// The same for the Settings window.
bool linuxSettingsSmoke();

} // namespace pivex
