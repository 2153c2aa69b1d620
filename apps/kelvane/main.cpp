// The `kelvane` command. Exit status: 0 done; 1 a marker is left unrepaired (--strict); 2 wrong
// usage or bad input; 3 the system refused; 130 interrupted.
#include "commands.hpp"
#include "console.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <new>
#include <stdexcept>

namespace {

constexpr int bad_input = 2;
constexpr int refused = 3;
constexpr int interrupted = 130;

int run(int argc, char** argv) {
    int status = 0;
    CLI::App app{"Removes circular reference markers from triangulated scan meshes.", "kelvane"};
    app.set_version_flag("--version", "kelvane " KELVANE_VERSION);
    app.require_subcommand(1);
    kelvane_command::add_repair(app, status);
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

int fail(int status, const char* message) {
    kelvane_command::print_error(message);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    try {
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
