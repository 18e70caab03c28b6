#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

// Works through a list of read-only jobs on a thread of its own, in the order the caller will
// want their results, so that the caller mostly finds them done. The caller never depends on it:
// a job the thread has not started when the caller comes to it is claimed by the caller, who does
// it itself, and the thread passes it over. The thread stays at most `lead` jobs ahead of the
// caller, so that it never holds a large share of the results at once.
namespace tf::store::maildir {

template <typename Result>
class ReadAhead {
  public:
    // produce(i) does job i; nothing when the caller should do it itself. It runs on the thread
    // and must touch nothing the caller's thread uses.
    ReadAhead(std::size_t count, std::function<std::optional<Result>(std::size_t)> produce,
              std::size_t lead)
        : count_(count),
          lead_(lead),
          produce_(std::move(produce)),
          states_(std::make_unique<std::atomic<std::uint8_t>[]>(count)),
          results_(count) {
        for (std::size_t i = 0; i < count; ++i) {
            states_[i].store(kWaiting, std::memory_order_relaxed);
        }
        thread_ = std::thread([this] { run(); });
    }

    ~ReadAhead() {
        stop_.store(true);
        reached_.fetch_add(lead_);  // wakes a thread that waits for the caller
        reached_.notify_all();
        thread_.join();
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
            // A wake-up is a system call: made only when the thread waits for the caller.
            if (threadWaits_.load()) {
                reached_.notify_one();
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
        for (std::size_t i = 0; i < count_ && !stop_.load(std::memory_order_relaxed); ++i) {
            for (std::size_t reached = reached_.load(); i >= reached + lead_ && !stop_.load();
                 reached = reached_.load()) {
                threadWaits_.store(true);
                reached_.wait(reached);
                threadWaits_.store(false);
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
    std::atomic<bool> stop_{false};
    // Set while one side sleeps on the other; each stores its news before it reads the other's
    // flag, and sets its flag before it looks at the news, so no wake-up is ever missed.
    std::atomic<bool> threadWaits_{false};
    std::atomic<bool> callerWaits_{false};
    std::thread thread_;
};

}  // namespace tf::store::maildir
