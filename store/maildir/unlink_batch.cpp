#include "store/maildir/unlink_batch.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <thread>

namespace tf::store::maildir {

std::vector<int> unlinkSideBySide(const std::vector<UnlinkJob>& jobs, unsigned threads) {
    // Fewer jobs than this per thread are not worth a thread's start.
    constexpr std::size_t kJobsPerThread = 16;
    std::vector<int> errors(jobs.size(), 0);
    std::atomic<std::size_t> next{0};
    auto work = [&] {
        for (std::size_t i = next.fetch_add(1, std::memory_order_relaxed); i < jobs.size();
             i = next.fetch_add(1, std::memory_order_relaxed)) {
            if (::unlinkat(jobs[i].dir, jobs[i].name.c_str(), 0) != 0) {
                errors[i] = errno;
            }
        }
    };
    const std::size_t helpers =
        std::min<std::size_t>(std::max(threads, 1U) - 1, jobs.size() / kJobsPerThread);
    std::vector<std::thread> running;
    running.reserve(helpers);
    for (std::size_t t = 0; t < helpers; ++t) {
        running.emplace_back(work);
    }
    work();
    for (std::thread& thread : running) {
        thread.join();
    }
    return errors;
}

}  // namespace tf::store::maildir
