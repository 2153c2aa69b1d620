// A folder of its own per test, the built command, and small scans.
#pragma once

#include "kelvane/toolkit/scan/scan.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace fs = std::filesystem;

/// A fresh folder that is gone when the test ends.
class Folder {
  public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "kelvane-test-XXXXXX").string();
        path_ = ::mkdtemp(name.data());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(path_); }

    fs::path operator/(const std::string& name) const { return path_ / name; }
    /// Writes a file and returns its path.
    fs::path put(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return path_ / name;
    }
    /// Number of entries, also hidden ones.
    std::size_t entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(path_), fs::directory_iterator()));
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

inline std::string content(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct CommandResult {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs `kelvane` with `arguments` by the shell, in `folder`.
inline CommandResult run_kelvane(const Folder& folder, const std::string& arguments) {
    const fs::path out = folder / ".stdout";
    const fs::path err = folder / ".stderr";
    const std::string line = "cd '" + folder.path().string() + "' && '" KELVANE_COMMAND "' " +
                             arguments + " >'" + out.string() + "' 2>'" + err.string() + "'";
    const int state = std::system(line.c_str());
    CommandResult result{WIFEXITED(state) ? WEXITSTATUS(state) : -1, content(out), content(err)};
    fs::remove(out);
    fs::remove(err);
    return result;
}

/// A unit square of two triangles, off the plane, with floats that need all their digits.
inline KVN::toolkit::Scan square() {
    KVN::toolkit::Scan scan;
    scan.positions = {0.1F, 0.0F,       1e-7F, 1.0F / 3.0F, 0.0F, -0.0F,
                      1.0F, 123456.79F, 0.3F,  0.0F,        1.0F, -2.5e-30F};
    scan.triangles = {0, 1, 2, 0, 2, 3};
    return scan;
}

} // namespace test
