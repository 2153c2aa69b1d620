#include "kelvane/holes/border_trace.hpp"

#include "kelvane/kernel/record_words.hpp"

#include <utility>

namespace KVN {

void BorderTrace::add(const Verdict& verdict, const std::vector<Mesh_R::_edge*>& edges,
                      bool as_chain) {
    WalkTrace walk{verdict, static_cast<int>(edges.size()), as_chain, {}};
    if (keep_walks && !edges.empty()) {
        const Mesh_R::_vert* v = edges[0]->start;
        if (edges.size() > 1 && Mesh_R::is_end(edges[1], v)) {
            v = edges[0]->end;
        }
        walk.vertices.push_back(v);
        for (const Mesh_R::_edge* e : edges) {
            v = Mesh_R::other_end(e, v);
            walk.vertices.push_back(v);
        }
    }
    walks.push_back(std::move(walk));
}

} // namespace KVN
