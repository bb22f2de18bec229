#include "app/OpcodeTools.h"
