#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

// Works through a list of read-only jobs on threads of its own, in the order the caller will
// want their results, so that the caller mostly finds them done. The caller never depends on
// them: a job no thread has started when the caller comes to it is claimed by the caller, who
// does it itself, and the threads pass it over. The threads stay at most `lead` jobs ahead of
// the caller, so that they never hold a large share of the results at once.
namespace tf::store::maildir {

template <typename Result>
class ReadAhead {
  public:
    // produce(i) does job i; nothing when the caller should do it itself. It runs on the
    // threads, at the same time for different jobs, and must touch nothing the caller's thread
    // uses.
    ReadAhead(std::size_t count, std::function<std::optional<Result>(std::size_t)> produce,
              std::size_t lead, unsigned threads = 1)
        : count_(count),
          lead_(lead),
          produce_(std::move(produce)),
          states_(std::make_unique<std::atomic<std::uint8_t>[]>(count)),
          results_(count) {
        for (std::size_t i = 0; i < count; ++i) {
            states_[i].store(kWaiting, std::memory_order_relaxed);
        }
        for (unsigned t = 0; t < std::max(threads, 1U); ++t) {
            threads_.emplace_back([this] { run(); });
        }
    }

    ~ReadAhead() {
        stop_.store(true);
        reached_.fetch_add(lead_);  // wakes a thread that waits for the caller
        reached_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // Job i's result when the thread has it (waiting while the thread is at it); nothing when
    // the caller should do the job itself. Each result is given once.
    std::optional<Result> take(std::size_t i) {
        if (i >= count_) {
            return std::nullopt;
        }
        if (reached_.load(std::memory_order_relaxed) < i + 1) {
            reached_.store(i + 1);
            // A wake-up is a system call: made only when a thread waits for the caller.
            if (threadsWaiting_.load() > 0) {
                reached_.notify_all();
            }
        }
        std::atomic<std::uint8_t>& state = states_[i];
        std::uint8_t now = state.load(std::memory_order_acquire);
        for (;;) {
            if (now == kWorking) {
                callerWaits_.store(true);
                state.wait(kWorking);
                callerWaits_.store(false);
                now = state.load(std::memory_order_acquire);
            } else if (now == kWaiting) {
                if (state.compare_exchange_weak(now, kClaimed, std::memory_order_acq_rel)) {
                    return std::nullopt;
                }
            } else {
                break;
            }
        }
        if (now != kDone) {
            return std::nullopt;
        }
        state.store(kClaimed, std::memory_order_relaxed);
        return std::move(results_[i]);
    }

  private:
    enum State : std::uint8_t { kWaiting, kWorking, kDone, kFailed, kClaimed };

    void run() {
        for (std::size_t i = next_.fetch_add(1);
             i < count_ && !stop_.load(std::memory_order_relaxed); i = next_.fetch_add(1)) {
            for (std::size_t reached = reached_.load(); i >= reached + lead_ && !stop_.load();
                 reached = reached_.load()) {
                threadsWaiting_.fetch_add(1);
                reached_.wait(reached);
                threadsWaiting_.fetch_sub(1);
            }
            std::uint8_t waiting = kWaiting;
            if (!states_[i].compare_exchange_strong(waiting, kWorking, std::memory_order_acq_rel)) {
                continue;  // the caller came first
            }
            std::optional<Result> result;
            try {
                result = produce_(i);
            } catch (...) {
                // The caller does the job again and meets the failure itself.
            }
            if (result) {
                results_[i] = std::move(*result);
            }
            states_[i].store(result ? kDone : kFailed);
            if (callerWaits_.load()) {
                states_[i].notify_all();
            }
        }
    }

    const std::size_t count_;
    const std::size_t lead_;
    std::function<std::optional<Result>(std::size_t)> produce_;
    std::unique_ptr<std::atomic<std::uint8_t>[]> states_;
    std::vector<Result> results_;  // written before the job's state becomes kDone
    std::atomic<std::size_t> reached_{0};
    std::atomic<std::size_t> next_{0};  // the next job a thread takes up
    std::atomic<bool> stop_{false};
    // Set while one side sleeps on the other; each stores its news before it reads the other's
    // flag, and sets its flag before it looks at the news, so no wake-up is ever missed.
    std::atomic<int> threadsWaiting_{0};
    std::atomic<bool> callerWaits_{false};
    std::vector<std::thread> threads_;
};

}  // namespace tf::store::maildir
