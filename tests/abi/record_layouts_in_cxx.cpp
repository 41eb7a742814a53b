// The same checks by a C++17 caller, whose compiler sees the headers with other conditions.
#pragma GCC diagnostic ignored "-Wold-style-cast"
#include "record_layouts.c"
