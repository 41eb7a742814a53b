#ifndef DP_COMMON_EXPORT_HPP
#define DP_COMMON_EXPORT_HPP

/// Marks what the shared library exports; everything else is hidden.
#define DP_API __attribute__((visibility("default")))

/// Marks a member of an exported class that is not exported.
#define DP_LOCAL __attribute__((visibility("hidden")))

#endif
