#include "tools/FontUploadPlan.h"
