#include "model/Utf8.h"
