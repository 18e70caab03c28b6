#include "store/imap/side_by_side.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <numeric>
#include <thread>

namespace tf::store::imap {

std::vector<std::size_t> shareOut(const std::vector<std::size_t>& sizes, std::size_t connections) {
    std::vector<std::size_t> order(sizes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return sizes[a] > sizes[b]; });
    std::vector<std::size_t> load(std::max<std::size_t>(connections, 1), 0);
    std::vector<std::size_t> taker(sizes.size(), 0);
    for (const std::size_t folder : order) {
        const auto least = std::min_element(load.begin(), load.end());
        taker[folder] = static_cast<std::size_t>(least - load.begin());
        *least += sizes[folder];
    }
    return taker;
}

void deleteFolders(ImapConnection& connection, std::vector<FolderDeletion>& folders) noexcept {
    try {
        connection.open();
        for (FolderDeletion& folder : folders) {
            if (connection.select(folder.key).uidValidity != folder.uidValidity) {
                continue;  // renumbered: the caller's connection finds out and tells
            }
            for (const std::vector<UidList>& sets : folder.groups) {
                const std::vector<QString> refused = connection.deleteSets(sets);
                if (std::any_of(refused.begin(), refused.end(),
                                [](const QString& said) { return !said.isEmpty(); })) {
                    break;
                }
                ++folder.groupsDone;
            }
        }
    } catch (const std::exception&) {
        // What is not done is the caller's; nothing more is tried on a connection that failed.
    }
    connection.close();
}

void SideBySide::add(std::unique_ptr<ImapConnection> connection,
                     std::vector<FolderDeletion> folders) {
    connections_.push_back(std::move(connection));
    folders_.push_back(std::move(folders));
}

void SideBySide::run(const std::function<void()>& meanwhile, const std::function<void()>& waiting) {
    std::atomic<std::size_t> finished{0};
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < connections_.size(); ++i) {
            threads.emplace_back([this, i, &finished] {
                deleteFolders(*connections_[i], folders_[i]);
                finished.fetch_add(1, std::memory_order_release);
            });
        }
        // The threads are joined on the way out, also when meanwhile throws.
        meanwhile();
        while (finished.load(std::memory_order_acquire) < threads.size()) {
            waiting();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    for (const auto& connection : connections_) {
        commands_ += connection->commands();
    }
}

}  // namespace tf::store::imap
