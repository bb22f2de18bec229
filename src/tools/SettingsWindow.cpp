#include "tools/SettingsWindow.h"
