// The version that the library was built with.

#include "core/zavo.h"

extern "C" const char* zavo_version()
{
    return ZAVO_VERSION;
}
