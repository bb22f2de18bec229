#include "device/ChipUpload.h"
