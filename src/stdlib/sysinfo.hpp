// sysinfo.hpp -- where the screen layer makes TONE sound.
#pragma once

#include "sysinfo.h"

// Sound frequency hertz for duration ticks (18.2 a second).  Null (no
// terminal, as in batch) means TONE is silent; the screen layer fills it
// when it starts.
extern "C" void (*vlnToneHook)(double frequency, double duration);
