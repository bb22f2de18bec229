#include "simulator/PtyLink.h"
