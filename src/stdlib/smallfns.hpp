// smallfns.hpp -- where the screen layer tells ISCOLOR() its answer.
#pragma once

#include "smallfns.h"

// Whether the terminal shows colours; null (no screen) means it does not.
// The screen layer fills it when it starts.
extern "C" int (*vlnHasColorsHook)(void);
