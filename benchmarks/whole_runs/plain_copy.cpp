// plain_copy SCAN OUTPUT: a scan read into arrays and written again, which every job must cost.
#include "plain_ply.hpp"

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("plain_copy SCAN OUTPUT\n", stderr);
        return 2;
    }
    try {
        KVN::bench::write_plain_ply(argv[2], KVN::bench::read_plain_ply(argv[1]));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "plain_copy: %s\n", error.what());
        return 2;
    }
}
