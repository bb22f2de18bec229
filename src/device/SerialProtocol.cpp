#include "device/SerialProtocol.h"
