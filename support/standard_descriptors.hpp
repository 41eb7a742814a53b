#ifndef DP_SUPPORT_STANDARD_DESCRIPTORS_HPP
#define DP_SUPPORT_STANDARD_DESCRIPTORS_HPP

/// Descriptors 0 to 2 are those of standard input, output and error, also in a process that was
/// started without some of them. Otherwise the next files that it opens would get their numbers,
/// and what is printed or logged would land in these.
namespace standard_descriptors {
/// Occupies those that are closed; reading and writing them fail with EBADF, as on closed ones.
/// Call it before the process opens anything. False, with errno set, when it can't be done.
bool occupy();
}  // namespace standard_descriptors

#endif
