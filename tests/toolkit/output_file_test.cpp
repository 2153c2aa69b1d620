// What becomes of what stands where an output is written.
#include "toolkit_support.hpp"

#include "kelvane/toolkit/scan/formats/output_file.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>

using namespace KVN::toolkit;
namespace fs = std::filesystem;

TEST(OutputFile, FollowsLinksAlsoToWhatIsNotThereYet) {
    const test::Folder folder;
    fs::create_directory(folder / "far");
    fs::create_symlink("far/second", folder / "first");
    fs::create_symlink("new.txt", folder / "far/second");
    write_text(folder / "first", "one");
    EXPECT_EQ(test::content(folder / "far/new.txt"), "one");
    write_text(folder / "first", "two");
    EXPECT_EQ(test::content(folder / "far/new.txt"), "two");
    EXPECT_TRUE(fs::is_symlink(folder / "first") && fs::is_symlink(folder / "far/second"));
    fs::create_symlink("round", folder / "round");
    EXPECT_THROW(write_text(folder / "round", "x"), std::exception);
}

TEST(OutputFile, KeepsModeAndOwner) {
    const test::Folder folder;
    const fs::path file = folder.put("out", "old");
    const bool is_root = ::geteuid() == 0;
    ASSERT_EQ(::chown(file.c_str(), is_root ? 1234 : ::geteuid(), is_root ? 567 : ::getegid()), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0751), 0);
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    write_text(file, "new");
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

// A file of a living writer is locked; what nobody holds was left by a process that was killed.
TEST(OutputFile, RemovesWhatKilledProcessesLeft) {
    const test::Folder folder;
    {
        const OutputFile living(folder / "first");
        ASSERT_EQ(folder.entries(), 1U);
        for (const char* name : {".kelvane-99999999-0", ".kelvane-1-17"}) { // and others' files
            folder.put(name, "half a scan");
        }
        for (const char* name : {".kelvane-1-", ".kelvane--1", ".kelvane-1-2x", ".kelvane-1"}) {
            folder.put(name, "kept");
        }
        ASSERT_EQ(::mkfifo((folder / ".kelvane-1-1").c_str(), 0600), 0);
        fs::create_symlink(".kelvane-1-", folder / ".kelvane-1-2");
        write_text(folder / "second", "done");
        EXPECT_EQ(folder.entries(), 1U + 4U + 2U + 1U);
    }
    EXPECT_EQ(folder.entries(), 4U + 2U + 1U);
}

TEST(OutputFile, NeverRemovesWhatIsNoRegularFile) {
    const test::Folder folder;
    const fs::path pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    write_text(pipe, "text");
    char text[8] = {};
    EXPECT_EQ(::read(reader, text, sizeof text), 4);
    check_output(pipe);
    ::close(reader);
    EXPECT_TRUE(fs::is_fifo(pipe));
}
