// The edges of a piece of surface and how it bends there.
#pragma once

#include "kelvane/toolkit/page/face_list.hpp"

#include <cstdint>
#include <vector>

namespace KVN::toolkit {

/// An edge with its faces. Edges with more than two tell of the first two.
struct BentEdge {
    std::array<std::uint32_t, 2> ends; ///< ascending
    std::uint32_t first_face;          ///< place in the list
    std::uint32_t second_face;         ///< the first once more where there is only one
    double degrees;                    ///< between the normals of the two; 0 for a single one

    bool is_single() const { return first_face == second_face; }
};

/// The edges of the faces that `surface` is made of, each once, ascending by their ends.
std::vector<BentEdge> bent_edges(const FaceList& list, Side surface);

} // namespace KVN::toolkit
