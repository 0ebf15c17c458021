#pragma once
#include <cstddef>

// Absolute paths of the program, moved below $MONITORING_ROOT when it is set
// (tests and development sandboxes); unset, the path is returned unchanged.
// Set, the result is written to `buf`; NULL when it does not fit in `size` bytes.
const char *rootedPath(const char *absPath, char *buf, size_t size);
