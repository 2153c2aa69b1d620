#include "plain_ply.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <sys/stat.h>

namespace KVN::bench {

namespace {

constexpr std::size_t vertex_bytes = 12;
constexpr std::size_t face_bytes = 13; // a count and three indices

struct Closing {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closing>;

File opened(const std::string& name, const char* mode) {
    File file(std::fopen(name.c_str(), mode));
    if (!file) {
        throw std::runtime_error(name + " cannot be opened");
    }
    return file;
}

std::unique_ptr<char[]> all_bytes(const std::string& name, std::size_t& size) {
    const File file = opened(name, "rb");
    struct stat state {};
    fstat(fileno(file.get()), &state);
    size = static_cast<std::size_t>(state.st_size);
    std::unique_ptr<char[]> bytes(new char[size]); // uninitialised
    if (std::fread(bytes.get(), 1, size, file.get()) != size) {
        throw std::runtime_error(name + " cannot be read");
    }
    return bytes;
}

} // namespace

toolkit::Scan read_plain_ply(const std::string& file) {
    std::size_t size = 0;
    const std::unique_ptr<char[]> bytes = all_bytes(file, size);
    const std::string head(bytes.get(), std::min<std::size_t>(size, 1000));
    const std::string end = "end_header\n";
    const auto count_of = [&](const std::string& element) {
        return std::stoull(head.substr(head.find("element " + element) + 9 + element.size()));
    };
    const std::size_t vertices = count_of("vertex");
    const std::size_t faces = count_of("face");
    const std::size_t body = head.find(end) + end.size();
    if (size != body + vertex_bytes * vertices + face_bytes * faces) {
        throw std::runtime_error(file + " is not of the plain kind");
    }
    toolkit::Scan scan;
    scan.positions.resize(3 * vertices);
    std::memcpy(scan.positions.data(), bytes.get() + body, vertex_bytes * vertices);
    scan.triangles.resize(3 * faces);
    const char* record = bytes.get() + body + vertex_bytes * vertices;
    for (std::size_t f = 0; f < faces; ++f, record += face_bytes) {
        std::memcpy(&scan.triangles[3 * f], record + 1, 12);
    }
    return scan;
}

void write_plain_ply(const std::string& file, const toolkit::Scan& scan) {
    const std::string head = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                             std::to_string(scan.vertex_count()) +
                             "\nproperty float x\nproperty float y\nproperty float z\nelement "
                             "face " +
                             std::to_string(scan.face_count()) +
                             "\nproperty list uchar int vertex_indices\nend_header\n";
    const std::size_t size = face_bytes * scan.face_count();
    const std::unique_ptr<char[]> records(new char[size]);
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        records[face_bytes * f] = 3;
        std::memcpy(&records[face_bytes * f + 1], &scan.triangles[3 * f], 12);
    }
    const File out = opened(file, "wb");
    const bool written = std::fwrite(head.data(), 1, head.size(), out.get()) == head.size() &&
                         std::fwrite(scan.positions.data(), 4, scan.positions.size(), out.get()) ==
                             scan.positions.size() &&
                         std::fwrite(records.get(), 1, size, out.get()) == size &&
                         std::fflush(out.get()) == 0;
    if (!written) {
        throw std::runtime_error(file + " cannot be written");
    }
}

} // namespace KVN::bench
