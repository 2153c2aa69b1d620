// Marks what the shared libraries of the project make visible. A plain header, so that the sources
// compile from the tree as they stand.
#pragma once

#if defined(__GNUC__)
#define KELVANE_EXPORT __attribute__((visibility("default")))
#else
#define KELVANE_EXPORT
#endif
