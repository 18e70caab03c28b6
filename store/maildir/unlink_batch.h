#pragma once

#include <string>
#include <vector>

// Deletes many files at once, several at a time. On a file system that discards freed blocks as
// it frees them (ext4 mounted with "discard", common on SSDs and virtual disks), every unlink
// waits for the disk; with several in flight those waits overlap, which makes a large delete
// several times faster. Elsewhere it costs nothing but a few threads.
namespace tf::store::maildir {

struct UnlinkJob {
    int dir;           // as unlinkat takes it: an open directory, or AT_FDCWD
    std::string name;  // relative to dir; never a directory
};

// The errno of each job's unlinkat, in the jobs' order; 0 where the file went.
std::vector<int> unlinkSideBySide(const std::vector<UnlinkJob>& jobs, unsigned threads);

}  // namespace tf::store::maildir
