#include "language/Lexer.h"
