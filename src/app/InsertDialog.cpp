#include "app/InsertDialog.h"
