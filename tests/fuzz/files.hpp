// Files that a fuzz program writes and reads.
#pragma once

#include "tests/fuzz/bytes.hpp"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

namespace fuzz {

namespace fs = std::filesystem;

/// A folder in memory, gone when the program ends.
class Folder {
  public:
    Folder() : path_("/dev/shm/kelvane-fuzz-" + std::to_string(::getpid())) {
        fs::create_directories(path_);
    }
    ~Folder() { fs::remove_all(path_); }
    fs::path put(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return path_ / name;
    }
    static std::string content(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    fs::path operator/(const std::string& name) const { return path_ / name; }

  private:
    fs::path path_;
};

template <class T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

} // namespace fuzz
