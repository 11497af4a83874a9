// blocks.hpp -- where the evaluator takes over the running of macro blocks.
#pragma once

#include "blocks.h"

// Runs a macro block ('b') with its arguments: the evaluator fills it at
// start-up.  Until then a macro block gives NIL.
extern "C" var* (*vln_macro_block_hook)(var* block, int argc, var** argv);
