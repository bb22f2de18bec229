#include "tools/ImageDrawing.h"
