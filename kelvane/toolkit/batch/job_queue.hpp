// Jobs of a batch, handed out to threads within the memory that they may use.
#pragma once

#include "kelvane/toolkit/batch/job_list.hpp"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace KVN::toolkit {

/// All members but the constructor may be called by several threads at once.
class JobQueue {
  public:
    struct Entry {
        const BatchJob* job;
        std::uint64_t memory; ///< bytes that it needs
    };

    JobQueue(std::vector<Entry> entries, std::uint64_t memory)
        : entries_(std::move(entries)), memory_(memory) {}

    /// The next job, once there is memory for it or nothing else runs; null when none is left.
    const Entry* take() {
        std::unique_lock<std::mutex> lock(mutex_);
        const auto may_go = [this] {
            return stopped_ || next_ == entries_.size() || running_ == 0 ||
                   in_use_ + entries_[next_].memory <= memory_;
        };
        freed_.wait(lock, may_go);
        if (stopped_ || next_ == entries_.size()) {
            return nullptr;
        }
        ++running_;
        in_use_ += entries_[next_].memory;
        return &entries_[next_++];
    }

    /// A job that was taken has ended.
    void give_back(const Entry& entry) {
        const std::lock_guard<std::mutex> lock(mutex_);
        --running_;
        in_use_ -= entry.memory;
        freed_.notify_all();
    }

    /// Hands out nothing more; rethrow() throws the first reason that was given.
    void stop(std::exception_ptr reason) {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = stopped_ ? stopped_ : std::move(reason);
        freed_.notify_all();
    }

    /// To be called when all threads have ended.
    void rethrow() const {
        if (stopped_) {
            std::rethrow_exception(stopped_);
        }
    }

  private:
    std::vector<Entry> entries_;
    std::uint64_t memory_;
    std::mutex mutex_;
    std::condition_variable freed_;
    std::size_t next_ = 0;
    std::size_t running_ = 0;
    std::uint64_t in_use_ = 0;
    std::exception_ptr stopped_;
};

} // namespace KVN::toolkit
