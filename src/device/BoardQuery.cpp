#include "device/BoardQuery.h"
