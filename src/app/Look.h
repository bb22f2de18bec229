#pragma once

namespace pivex {

/// Gives the whole application its one dark look: widget style, palette and style sheet. Call it
/// once, after the application object exists and before the first window.
void applyLook();

} // namespace pivex
