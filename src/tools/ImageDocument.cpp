#include "tools/ImageDocument.h"
