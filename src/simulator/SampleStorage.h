#pragma once

#include "simulator/BoardStorage.h"

#include <cstddef>

namespace pivex {

/// A board that somebody has used: three chip tests, four images, two fonts.
BoardStorage sampleStorage();

/// Appends `count` small chip tests with different names, for load.
void addGeneratedChips(BoardStorage& storage, std::size_t count);

} // namespace pivex
