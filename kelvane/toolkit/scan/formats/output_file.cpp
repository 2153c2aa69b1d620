#include "kelvane/toolkit/scan/formats/output_file.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/temporary_file.hpp"
#include "kelvane/toolkit/standard_stream.hpp"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KVN::toolkit {

namespace {

constexpr std::size_t buffer_size = std::size_t{1} << 20;
constexpr int links_followed = 40; // as by Linux itself

/// Where writing to `target` writes to: links are followed, also one that leads to a file that is
/// not there yet.
std::filesystem::path resolved(std::filesystem::path target) {
    std::error_code error;
    for (int i = 0; i < links_followed && std::filesystem::is_symlink(target, error); ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(target, error);
        target = target.parent_path() / next; // which is `next` where that is absolute
    }
    return target;
}

/// Gives a new file the owner and the mode of the one that it replaces, as far as the system
/// allows: to others it is never more open than that.
void take_over(int descriptor, const struct stat& state) {
    mode_t mode = state.st_mode & 07777U;
    if (::fchown(descriptor, state.st_uid, state.st_gid) != 0) {
        mode &= 0777U; // bits that act in the owner's name would act in another's
        if (::fchown(descriptor, static_cast<uid_t>(-1), state.st_gid) != 0) {
            const mode_t others = mode & 07U;
            mode &= 0700U | (others << 3U) | others; // the group is another
        }
    }
    [[maybe_unused]] const int result = ::fchmod(descriptor, mode);
}

} // namespace

OutputFile::OutputFile(const std::filesystem::path& target)
    : name_(target.string()), target_(resolved(target)) {
    buffer_.reserve(buffer_size); // here, since nothing may throw once the file is there
    if (is_standard_stream(target)) {
        name_ = "standard output";
        descriptor_ = ::dup(STDOUT_FILENO);
        if (descriptor_ < 0) {
            refuse(errno);
        }
        return;
    }
    std::error_code unreadable;
    if (std::filesystem::is_symlink(target_, unreadable)) {
        refuse(ELOOP);
    }
    struct stat state {};
    const bool exists = ::stat(target_.c_str(), &state) == 0;
    if (exists && S_ISDIR(state.st_mode)) {
        throw InputError(name_ + ": cannot be written: it is a directory");
    }
    if (exists && ::access(target_.c_str(), W_OK) != 0) {
        refuse(errno); // a rename would replace even a file that may not be written
    }
    if (exists && !S_ISREG(state.st_mode)) {
        descriptor_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) {
            refuse(errno);
        }
    } else {
        descriptor_ = open_temporary_file(target_.parent_path(), temporary_);
        if (descriptor_ < 0) {
            refuse(errno);
        }
        if (exists) {
            take_over(descriptor_, state);
        }
    }
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        forget_temporary_file(temporary_);
    }
    if (descriptor_ >= 0) {
        ::close(descriptor_); // last: once it is not locked, another output may take the name
    }
}

void OutputFile::write(const void* data, std::size_t size) {
    if (buffer_.size() + size > buffer_size) {
        flush();
    }
    if (size >= buffer_size / 8) {
        flush();
        send(static_cast<const char*>(data), size); // not worth another copy
    } else {
        buffer_.append(static_cast<const char*>(data), size);
    }
}

void OutputFile::flush() {
    send(buffer_.data(), buffer_.size());
    buffer_.clear();
}

void OutputFile::send(const char* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::write(descriptor_, data + done, size - done);
        if (n < 0 && errno != EINTR) {
            refuse(errno);
        }
        done += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
}

void OutputFile::commit() {
    flush();
    // A full disk may show only here; devices and some file systems know no fsync, which is no
    // fault.
    if (::fsync(descriptor_) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS) {
        refuse(errno);
    }
    if (!temporary_.empty()) {
        // Before the close, which gives up the lock: another output would take the file for one
        // that a killed process has left.
        if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
            refuse(errno);
        }
        forget_temporary_file(temporary_);
        temporary_.clear();
    }
    if (::close(std::exchange(descriptor_, -1)) != 0) {
        refuse(errno);
    }
}

void OutputFile::refuse(int error) const {
    throw SystemError(name_ + ": cannot be written: " + std::strerror(error));
}

} // namespace KVN::toolkit
