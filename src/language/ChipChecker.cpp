#include "language/ChipCompiler.h"
