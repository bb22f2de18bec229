#include "device/BatchSave.h"
