#include "simulator/BoardModel.h"
