#include "kelvane/toolkit/scan/formats/output_file.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KVN::toolkit {

namespace {

constexpr std::size_t buffer_size = std::size_t{1} << 20;
constexpr int name_attempts = 1000; // names that other runs of the same process id may have left

} // namespace

OutputFile::OutputFile(const std::filesystem::path& target) : name_(target.string()) {
    std::error_code ignored;
    const std::filesystem::path real = std::filesystem::canonical(target, ignored);
    target_ = real.empty() ? target : real;

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
        open_beside();
        if (exists) {
            // The new file is as open to others as the one that it replaces; a refusal harms
            // nobody.
            [[maybe_unused]] const int result = ::fchmod(descriptor_, state.st_mode & 07777U);
        }
    }
    buffer_.reserve(buffer_size);
}

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
    }
}

void OutputFile::open_beside() {
    const std::string stem = ".kelvane-" + std::to_string(::getpid()) + "-";
    for (int i = 0; i < name_attempts && descriptor_ < 0; ++i) {
        std::filesystem::path name = target_.parent_path() / (stem + std::to_string(i));
        descriptor_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor_ >= 0) {
            temporary_ = std::move(name);
        } else if (errno != EEXIST) {
            refuse(errno);
        }
    }
    if (descriptor_ < 0) {
        refuse(EEXIST);
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
    if (::close(std::exchange(descriptor_, -1)) != 0) {
        refuse(errno);
    }
    if (!temporary_.empty()) {
        if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
            refuse(errno);
        }
        temporary_.clear();
    }
}

void OutputFile::refuse(int error) const {
    throw SystemError(name_ + ": cannot be written: " + std::strerror(error));
}

} // namespace KVN::toolkit
