#include "kelvane/toolkit/scan/formats/file_reader.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/standard_stream.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KVN::toolkit {

FileReader::FileReader(const std::filesystem::path& file) : path_(file) {
    struct stat state {};
    if (is_standard_stream(file) || ::stat(file.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) {
        bytes_ = load_source(file).bytes; // which also says what is wrong with the file
        size_ = bytes_.size();
        return;
    }
    descriptor_ = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) {
        throw SystemError(file.string() + ": cannot be read: " + std::strerror(errno));
    }
    size_ = static_cast<std::uint64_t>(state.st_size);
    if (size_ == 0) {
        ::close(descriptor_);
        fail("is empty");
    }
}

FileReader::~FileReader() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void FileReader::read(std::uint64_t offset, std::size_t count, char* into) const {
    if (offset > size_ || count > size_ - offset) {
        fail("is cut short: the file ends within its records");
    }
    if (descriptor_ < 0) {
        std::memcpy(into, bytes_.data() + offset, count);
        return;
    }
    while (count > 0) {
        const ssize_t got = ::pread(descriptor_, into, count, static_cast<off_t>(offset));
        if (got < 0 && errno != EINTR) {
            throw SystemError(path_.string() + ": cannot be read: " + std::strerror(errno));
        }
        if (got == 0) {
            fail("has become shorter while it was read");
        }
        const std::size_t step = got > 0 ? static_cast<std::size_t>(got) : 0;
        into += step;
        offset += step;
        count -= step;
    }
}

std::string FileReader::read(std::uint64_t offset, std::size_t count) const {
    std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, size_)), '\0');
    read(offset, count, bytes.data());
    return bytes;
}

SourceFile FileReader::load() const {
    return {path_.string(), read(0, static_cast<std::size_t>(size_))};
}

void FileReader::fail(const std::string& what) const {
    throw InputError(path_.string() + ": " + what);
}

} // namespace KVN::toolkit
