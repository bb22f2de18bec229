#include "app/PinDiagram.h"
