// A window cut apart where nothing joins it.
#pragma once

#include "kelvane/toolkit/windows/reach.hpp"
#include "kelvane/toolkit/windows/window.hpp"

#include <cstddef>
#include <vector>

namespace KVN::toolkit {

/// Where the run of one marker asks for what is near.
struct MarkerReach {
    std::size_t marker; ///< its place in the list
    Capsule capsule;    ///< all such places of the marker lie in its capsules
};

/// Some of a window on its own, with the markers that stand there.
struct WindowPart {
    Window window;
    std::vector<std::size_t> markers; ///< their places in the list, ascending
};

/// Cuts a window apart into pieces that no triangle, no face record and no marker's reach joins. A
/// run over all markers does the same as runs over the parts, one after the other; these find their
/// meshes in the processor's caches and use the same memory again. Pieces are put together up to
/// `most_triangles` per part; a larger piece is a part of its own. Each of the `markers` markers is
/// in exactly one part, and there is at least one.
std::vector<WindowPart> cut_apart(Window window, std::size_t markers,
                                  const std::vector<MarkerReach>& reaches,
                                  std::size_t most_triangles);

} // namespace KVN::toolkit
