#include "simulator/BoardServer.h"
