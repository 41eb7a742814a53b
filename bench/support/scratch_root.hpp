#ifndef DP_BENCH_SUPPORT_SCRATCH_ROOT_HPP
#define DP_BENCH_SUPPORT_SCRATCH_ROOT_HPP

namespace bench {

/// Where the files of a benchmark are: in memory if the machine has a folder for that, so that the
/// code is measured and not the disk, or on the disk.
enum class place { memory, disk };

/// Runs `work` in a child process whose $DP_ROOT is a scratch folder with bin, tmp/dp, tmp/DS and
/// var/dp. Call it first in main, because the child executes the program again, and return its
/// result.
int in_scratch_root(char** argv, place where, void (*work)());

}  // namespace bench

#endif
