// The `kelvane` command. Exit status: 0 done; 1 a marker is left unrepaired (--strict); 2 wrong
// usage or bad input; 3 the system refused; 130 interrupted, 128 more than the number of the signal
// that ended it otherwise.
#include "commands.hpp"
#include "console.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/temporary_file.hpp"

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int bad_input = 2;
constexpr int refused = 3;
constexpr int interrupted = 130;
constexpr std::size_t stack_depth = 1 << 20; // bytes; the deepest that was seen in a run is 204 kB

/// One empty line between the groups of a help, which has to fit a screen.
class CompactFormatter : public CLI::Formatter {
  public:
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override {
        std::string help = CLI::Formatter::make_help(app, std::move(name), mode);
        for (std::size_t at = 0; (at = help.find("\n\n\n", at)) != std::string::npos;) {
            help.erase(at, 1);
        }
        return help;
    }
};

int run(int argc, char** argv) {
    int status = 0;
    CLI::App app{"Removes circular reference markers from triangulated scan meshes.", "kelvane"};
    app.formatter(std::make_shared<CompactFormatter>());
    app.set_version_flag("--version", "kelvane " KELVANE_VERSION);
    app.require_subcommand(1);
    app.footer("\nExample:\n  kelvane demo trial && cd trial\n"
               "  kelvane repair scan.ply --markers markers.csv --output clean.ply\n\n"
               "kelvane SUBCOMMAND --help tells the options of each.");
    kelvane_command::add_repair(app, status);
    kelvane_command::add_batch(app, status);
    kelvane_command::add_cut(app);
    kelvane_command::add_info(app);
    kelvane_command::add_demo(app);
    kelvane_command::add_compare(app);
    kelvane_command::add_explain(app);
    kelvane_command::add_find(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error); // help or version
        }
        kelvane_command::print_error(std::string(error.what()) + " (see kelvane --help)");
        return bad_input;
    }
    return status;
}

/// Has the process end as a refusal where a library calls exit(), as the OpenMP runtime does.
class ExitStatus {
  public:
    ExitStatus() { std::atexit(end); }
    int leave(int status) {
        is_ours = true;
        return status;
    }

  private:
    static void end() {
        if (!is_ours) {
            KVN::toolkit::remove_temporary_files();
            std::_Exit(refused);
        }
    }
    static inline bool is_ours = false;
};

int fail(int status, const char* message) {
    kelvane_command::print_error(message);
    return status;
}

/// Where an exception may not leave a thread's work in a library, it ends the process here.
[[noreturn]] void end_for_good() {
    KVN::toolkit::remove_temporary_files();
    constexpr char line[] = "kelvane: not enough memory, or a fault of the program\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line, sizeof line - 1);
    std::_Exit(refused);
}

[[gnu::noinline]] void touch_stack() {
    [[maybe_unused]] volatile char stack[stack_depth];
    stack[0] = 0;
}

/// Where memory is limited, a stack that may not grow any more ends the process by a fault, without
/// a word. So it takes at the beginning what it can need, or the run is refused.
void grow_stack() {
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur < 2 * stack_depth) {
        return;
    }
    void* room = ::mmap(nullptr, 2 * stack_depth, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED) {
        throw std::bad_alloc();
    }
    ::munmap(room, 2 * stack_depth);
    touch_stack();
}

int guarded_run(int argc, char** argv) {
    try {
        grow_stack();
        return run(argc, argv);
    } catch (const KVN::toolkit::InputError& error) {
        return fail(bad_input, error.what());
    } catch (const KVN::toolkit::SystemError& error) {
        return fail(refused, error.what());
    } catch (const KVN::toolkit::Cancelled&) {
        return fail(interrupted, "interrupted; nothing was written");
    } catch (const std::bad_alloc&) {
        return fail(refused, "not enough memory");
    } catch (const std::length_error&) {
        return fail(bad_input, "the scan is larger than a mesh can be");
    } catch (const std::exception& error) {
        return fail(refused, error.what());
    }
}

} // namespace

int main(int argc, char** argv) {
    ExitStatus exit_status;
    std::set_terminate(end_for_good);
    kelvane_command::guard_process();
    return exit_status.leave(guarded_run(argc, argv));
}
