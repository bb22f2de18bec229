#pragma once

#include "tools/FontDocument.h"

#include <optional>

class QWidget;

namespace pivex {

/// Asks for the name and the dimensions of a new font and gives it with all its pixels dark, or
/// nothing when the dialog is cancelled.
std::optional<FontDocument> askForNewFont(QWidget* parent);

} // namespace pivex
