#include "tools/ImageCanvas.h"
