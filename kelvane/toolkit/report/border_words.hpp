// The search for a border and the placing of a patch in words.
#pragma once

#include "kelvane/fill/hole_filling.hpp"
#include "kelvane/holes/border_trace.hpp"

#include <string>

namespace KVN::toolkit {

/// The refusal in words, e.g. "too few edges run against their faces".
const char* describe(Refusal refusal);

/// How a patch that was made with its surroundings in view came to its place, in words, e.g.
/// "continues the surface around it by 60 %, the rest is faired". `result` is not negative.
std::string describe_placement(int result);

/// A verdict in words with figure and limit, e.g. "too few edges run against their faces: 0.5, more
/// than 0.8 asked for".
std::string sentence(const Verdict& verdict);

/// The walk that came farthest through the tests, the one of most edges among equals; null where
/// nothing was tried.
const WalkTrace* nearest(const BorderTrace& trace);

} // namespace KVN::toolkit
