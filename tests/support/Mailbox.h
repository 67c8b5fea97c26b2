// What comes on other threads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace Korvex::Testing {

// What handlers on other threads bring, in their order. Share it with them: a late one needs it still.
template <typename News>
class Mailbox {
public:
    void put(News news) {
        const std::lock_guard guard(lock_);
        news_.push_back(std::move(news));
        came_.notify_all();
    }
    // Takes the next; a default one when none comes in time.
    News next() {
        News taken{};
        reaches([&](const News& news) {
            taken = news;
            return true;
        });
        return taken;
    }
    // Takes what comes up to the first that is wanted; false when that does not come in time.
    bool reaches(const std::function<bool(const News&)>& isWanted) {
        std::unique_lock guard(lock_);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (;;) {
            if (!came_.wait_until(guard, deadline, [&] { return !news_.empty(); })) return false;
            const News first = std::move(news_.front());
            news_.pop_front();
            if (isWanted(first)) return true;
        }
    }
    bool reaches(const News& wanted) {
        return reaches([&](const News& news) { return news == wanted; });
    }
    bool isEmpty() const {
        const std::lock_guard guard(lock_);
        return news_.empty();
    }
    void forget() {
        const std::lock_guard guard(lock_);
        news_.clear();
    }

private:
    mutable std::mutex lock_;
    std::condition_variable came_;
    std::deque<News> news_;
};

}  // namespace Korvex::Testing
