#include "app/CodeColors.h"
