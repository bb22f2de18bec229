#include "device/PortLink.h"
