// Border loops that a filler has to cope with, named by what is hard about them.
#pragma once

#include <string>
#include <vector>

struct NamedBorder {
    std::string name;
    std::vector<double> points; ///< x, y, z each
};

/// Loops over which a disc must come back.
std::vector<NamedBorder> borderCorpus();

/// A ragged round loop of about unit edge length, on a sphere that it meets `tilt` radians from its
/// pole.
std::vector<double> raggedLoop(int count, double tilt, unsigned seed);

/// A half circle of unit edges, closed by one long straight edge; with `run` edges along that
/// edge's own line at either end of the half circle.
std::vector<double> rimChain(int count, int run);
