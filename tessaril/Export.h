#pragma once

/// Marks the public classes of the apply framework, which is built with hidden visibility.

#if defined(TESSARIL_APPLY_STATIC)
#define TESSARIL_APPLY_EXPORT
#else
#define TESSARIL_APPLY_EXPORT __attribute__((visibility("default")))
#endif
