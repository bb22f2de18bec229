#include "device/StoredChips.h"
