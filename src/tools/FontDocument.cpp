#include "tools/FontDocument.h"
