#pragma once

#include <future>

namespace pivex {

/// Has another thread find out which fonts the system knows, which the toolkit would else do, and
/// wait for, at the first letter it lays out. Start it before the application object is made and
/// wait for it before the first window is.
[[nodiscard]] std::future<void> findFonts();

/// Gives the whole application its one dark look: widget style, palette and style sheet, and the
/// toolkit's dialogs instead of the desktop's. Call it once, after the application object exists
/// and before the first window.
void applyLook();

} // namespace pivex
