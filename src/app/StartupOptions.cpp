#include "app/StartupOptions.h"
