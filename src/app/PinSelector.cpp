#include "app/PinSelector.h"
