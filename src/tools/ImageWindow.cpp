#include "tools/ImageWindow.h"
