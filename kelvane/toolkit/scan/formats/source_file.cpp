#include "kelvane/toolkit/scan/formats/source_file.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/standard_stream.hpp"

#include <cctype>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KVN::toolkit {

namespace {

/// An open file descriptor, closed at the end of its scope.
struct Descriptor {
    int number;
    explicit Descriptor(int n) : number(n) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) {
            ::close(number);
        }
    }
};

[[noreturn]] void refuse(const std::string& name, int error) {
    const std::string line = name + ": cannot be read: " + std::strerror(error);
    // A name that leads nowhere is the caller's mistake; everything else is the system's refusal.
    if (error == ENOENT || error == ENOTDIR || error == EISDIR || error == ENAMETOOLONG) {
        throw InputError(line);
    }
    throw SystemError(line);
}

/// Appends up to `wanted` bytes to `bytes`; false at the end of the file.
bool append_chunk(int descriptor, std::string& bytes, std::size_t wanted, const std::string& name) {
    const std::size_t old = bytes.size();
    bytes.resize(old + wanted);
    ssize_t got = 0;
    do {
        got = ::read(descriptor, bytes.data() + old, wanted);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        refuse(name, errno);
    }
    bytes.resize(old + static_cast<std::size_t>(got));
    return got > 0;
}

} // namespace

void SourceFile::fail(const std::string& what) const {
    throw InputError(name + ": " + what);
}

SourceFile load_source(const std::filesystem::path& file) {
    const bool standard = is_standard_stream(file);
    SourceFile source{standard ? "standard input" : file.string(), {}};
    const Descriptor in(standard ? ::dup(STDIN_FILENO)
                                 : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat state {};
    if (in.number < 0 || ::fstat(in.number, &state) != 0) {
        refuse(source.name, errno);
    }
    if (S_ISDIR(state.st_mode)) {
        refuse(source.name, EISDIR);
    }
    constexpr std::size_t chunk = std::size_t{1} << 20; // for sources that tell no size
    std::size_t wanted = S_ISREG(state.st_mode) ? static_cast<std::size_t>(state.st_size) : chunk;
    while (append_chunk(in.number, source.bytes, wanted > 0 ? wanted : chunk, source.name)) {
        // A regular file is at its end now, unless it grows; one more short read tells.
        wanted = S_ISREG(state.st_mode) ? 4096 : chunk;
    }
    if (source.bytes.empty()) {
        source.fail("is empty");
    }
    return source;
}

std::string lower_extension(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    for (char& c : extension) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return extension;
}

} // namespace KVN::toolkit
