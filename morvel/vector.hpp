// The Tcl value type of vectors; its C interface stands in morvel.h.
#pragma once

#include "morvel.h"

namespace morvel {

// A vector of n floats that are copied. Null when memory is short.
MorvelVector* copy_to_vector(int n, const float* values);

// A vector of the numbers of a DynList of floats or integers. Null when memory is
// short.
MorvelVector* vector_of_list(const DynList* list);

} // namespace morvel
