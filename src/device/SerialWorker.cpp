#include "device/SerialWorker.h"
