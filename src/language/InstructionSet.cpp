#include "language/InstructionSet.h"
