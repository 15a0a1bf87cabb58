#pragma once

/// Marks the classes that the host's service library exports to the apply framework.
///
/// The service libraries are built with hidden visibility; only what carries this mark leaves them.

#if defined(TESSARIL_PLATFORM_STATIC)
#define TESSARIL_PLATFORM_EXPORT
#else
#define TESSARIL_PLATFORM_EXPORT __attribute__((visibility("default")))
#endif
