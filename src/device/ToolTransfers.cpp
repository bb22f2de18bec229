#include "device/ToolTransfers.h"
