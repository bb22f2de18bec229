#include "app/ChipWindow.h"
