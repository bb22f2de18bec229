#include "tools/FontCanvas.h"
