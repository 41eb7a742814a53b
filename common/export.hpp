#ifndef DP_COMMON_EXPORT_HPP
#define DP_COMMON_EXPORT_HPP

/// Marks what the shared library exports; everything else is hidden.
#define DP_API __attribute__((visibility("default")))

/// Marks an operation of an exported class that is the library's own business.
#define DP_LOCAL __attribute__((visibility("hidden")))

#endif
