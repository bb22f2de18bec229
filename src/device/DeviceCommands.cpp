#include "device/DeviceCommands.h"
