#include "app/Look.h"
