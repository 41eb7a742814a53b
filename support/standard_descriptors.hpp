#ifndef DP_SUPPORT_STANDARD_DESCRIPTORS_HPP
#define DP_SUPPORT_STANDARD_DESCRIPTORS_HPP

namespace dp_support {

/// Opens those of the descriptors 0 to 2 that the process was started without: otherwise the next
/// files that it opens would get these numbers, and receive what is printed or logged. Reading and
/// writing the new descriptors fails with EBADF, as on closed ones. Call it before the process
/// opens anything. False with errno set when it is not possible.
bool occupy_standard_descriptors();

}  // namespace dp_support

#endif
