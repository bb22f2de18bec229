#include "tools/FontWindow.h"
