#ifndef DP_COMMON_EXPORT_HPP
#define DP_COMMON_EXPORT_HPP

/// Marks what the shared library exports; everything else is hidden.
#define DP_API __attribute__((visibility("default")))

#endif
