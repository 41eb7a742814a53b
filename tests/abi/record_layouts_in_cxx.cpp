// The same checks by a C++17 caller, whose compiler sees the headers with other conditions.
#pragma GCC diagnostic ignored "-Wold-style-cast"
#include "tests/abi/record_layouts.c"
