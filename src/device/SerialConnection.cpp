#include "device/SerialConnection.h"
