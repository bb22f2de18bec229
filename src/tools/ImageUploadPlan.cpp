#include "tools/ImageUploadPlan.h"
