#include "kelvane/toolkit/scan/formats/temporary_file.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KVN::toolkit {

namespace {

const std::string prefix = ".kelvane-";
constexpr int name_attempts = 1000; // names that other runs of the same process id may have left

/// A name that a signal handler can read: plain memory, whose state says whether it is whole.
struct ListedName {
    enum State { empty, being_written, listed };
    std::atomic<int> state{empty};
    char name[4096]; // PATH_MAX of Linux
};
ListedName listed_names[64];
static_assert(std::atomic<int>::is_always_lock_free, "read by signal handlers");

void list(const std::string& name) {
    for (ListedName& entry : listed_names) {
        int expected = ListedName::empty;
        if (name.size() < sizeof entry.name &&
            entry.state.compare_exchange_strong(expected, ListedName::being_written)) {
            std::memcpy(entry.name, name.c_str(), name.size() + 1);
            entry.state = ListedName::listed;
            return;
        }
    }
}

/// ".kelvane-PROCESS-NUMBER", where both are nothing but digits.
bool is_temporary_name(const std::string& name) {
    const auto dash = name.find('-', prefix.size());
    const auto digits = [&name](std::size_t from, std::size_t to) {
        return to > from && std::all_of(name.begin() + static_cast<std::ptrdiff_t>(from),
                                        name.begin() + static_cast<std::ptrdiff_t>(to),
                                        [](char c) { return c >= '0' && c <= '9'; });
    };
    return name.compare(0, prefix.size(), prefix) == 0 && dash != std::string::npos &&
           digits(prefix.size(), dash) && digits(dash + 1, name.size());
}

/// Removes a regular file that nobody holds.
void remove_if_abandoned(const std::string& name) {
    const int file = ::open(name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat state {};
    struct stat named {};
    // Before the lock was had, the file may have been renamed and its name given to another one.
    if (file >= 0 && ::fstat(file, &state) == 0 && S_ISREG(state.st_mode) &&
        ::flock(file, LOCK_EX | LOCK_NB) == 0 && ::lstat(name.c_str(), &named) == 0 &&
        named.st_ino == state.st_ino && named.st_dev == state.st_dev) {
        ::unlink(name.c_str());
    }
    if (file >= 0) {
        ::close(file);
    }
}

void remove_abandoned(const std::filesystem::path& folder) {
    struct Close {
        void operator()(DIR* entries) const { ::closedir(entries); }
    };
    const std::unique_ptr<DIR, Close> entries(::opendir(folder.empty() ? "." : folder.c_str()));
    if (entries == nullptr) {
        return; // not readable, or not there: the open tells
    }
    while (const dirent* entry = ::readdir(entries.get())) {
        if (is_temporary_name(entry->d_name)) {
            remove_if_abandoned((folder / entry->d_name).string());
        }
    }
}

/// Locks a new file; false if another run has taken it for abandoned and removed it before that.
bool hold(int file) {
    struct stat state {};
    // Where locks are not known, nobody can take the file for abandoned either.
    return ::flock(file, LOCK_EX) != 0 || ::fstat(file, &state) != 0 || state.st_nlink > 0;
}

} // namespace

int open_temporary_file(const std::filesystem::path& folder, std::filesystem::path& name) {
    remove_abandoned(folder);
    const std::string stem = prefix + std::to_string(::getpid()) + "-";
    for (int i = 0; i < name_attempts; ++i) {
        std::filesystem::path candidate = folder / (stem + std::to_string(i));
        struct stat state {};
        if (::lstat(candidate.c_str(), &state) == 0) {
            continue;
        }
        list(candidate.string()); // first, so that no moment is without
        const int file = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file >= 0 && hold(file)) {
            name = std::move(candidate);
            return file;
        }
        const int error = errno;
        forget_temporary_file(candidate);
        if (file >= 0) {
            ::close(file);
        } else if (error != EEXIST) {
            errno = error;
            return -1;
        }
    }
    errno = EEXIST;
    return -1;
}

void forget_temporary_file(const std::filesystem::path& name) noexcept {
    for (ListedName& entry : listed_names) {
        if (entry.state == ListedName::listed && std::strcmp(name.c_str(), entry.name) == 0) {
            entry.state = ListedName::empty;
            return;
        }
    }
}

void remove_temporary_files() noexcept {
    for (const ListedName& entry : listed_names) {
        if (entry.state == ListedName::listed) {
            ::unlink(entry.name);
        }
    }
}

} // namespace KVN::toolkit
