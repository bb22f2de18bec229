#include "model/ChipFileCodec.h"
