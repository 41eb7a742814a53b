#ifndef DP_BENCH_SUPPORT_SCRATCH_ROOT_HPP
#define DP_BENCH_SUPPORT_SCRATCH_ROOT_HPP

namespace bench {

/// Where files lie: in memory as far as the machine has a folder for that, so that the code is
/// measured and not the disk, or where the disk counts too.
enum class place { memory, disk };

/// Runs `work` in a child process whose $DP_ROOT is a folder with bin, tmp/dp, tmp/DS and var/dp;
/// the folder goes away however that ends. The library looks at DP_ROOT when it is loaded, so the
/// program starts anew: call this first in main, and return what it returns.
int in_scratch_root(char** argv, place where, void (*work)());

}  // namespace bench

#endif
