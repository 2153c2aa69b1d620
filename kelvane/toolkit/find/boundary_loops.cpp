#include "kelvane/toolkit/find/boundary_loops.hpp"

#include "kelvane/toolkit/errors.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace KVN::toolkit {

namespace {

using Edge = std::pair<std::int32_t, std::int32_t>; ///< from, to

/// All sides of all triangles by their lower vertex: a list per vertex in one array.
class SidesByVertex {
  public:
    explicit SidesByVertex(const Scan& scan) : begin_(scan.vertex_count() + 1, 0) {
        each_side(scan, [&](std::int32_t a, std::int32_t b) {
            ++begin_[static_cast<std::size_t>(std::min(a, b)) + 1];
        });
        for (std::size_t i = 1; i < begin_.size(); ++i) {
            begin_[i] += begin_[i - 1];
        }
        sides_.resize(begin_.back());
        std::vector<std::size_t> next(begin_.begin(), begin_.end() - 1);
        each_side(scan, [&](std::int32_t a, std::int32_t b) {
            sides_[next[static_cast<std::size_t>(std::min(a, b))]++] = {a, b};
        });
    }

    /// Those that no other triangle has, by their lower vertices.
    std::vector<Edge> open_edges() const {
        std::vector<Edge> open;
        for (std::size_t v = 0; v + 1 < begin_.size(); ++v) {
            for (std::size_t i = begin_[v]; i < begin_[v + 1]; ++i) {
                const auto same = [&](const Edge& e) {
                    return std::minmax(e.first, e.second) ==
                           std::minmax(sides_[i].first, sides_[i].second);
                };
                const auto first = sides_.begin() + static_cast<std::ptrdiff_t>(begin_[v]);
                const auto last = sides_.begin() + static_cast<std::ptrdiff_t>(begin_[v + 1]);
                if (std::count_if(first, last, same) == 1) {
                    open.push_back(sides_[i]);
                }
            }
        }
        return open;
    }

  private:
    template <class Visit>
    static void each_side(const Scan& scan, const Visit& visit) {
        const auto vertices = static_cast<std::int64_t>(scan.vertex_count());
        for (std::size_t i = 0; i < scan.triangles.size(); ++i) {
            const std::int32_t a = scan.triangles[i];
            const std::int32_t b = scan.triangles[i % 3 == 2 ? i - 2 : i + 1];
            if (a < 0 || a >= vertices || b < 0 || b >= vertices) {
                throw InputError("triangle " + std::to_string(i / 3) +
                                 " names a vertex that does not exist");
            }
            if (a != b) {
                visit(a, b);
            }
        }
    }

    std::vector<std::size_t> begin_;
    std::vector<Edge> sides_;
};

} // namespace

std::vector<std::vector<std::int32_t>> boundary_loops(const Scan& scan) {
    std::vector<Edge> open = SidesByVertex(scan).open_edges();
    std::sort(open.begin(), open.end());
    std::vector<char> walked(open.size(), 0);
    const auto next_from = [&](std::int32_t v) {
        auto at = std::lower_bound(open.begin(), open.end(), Edge{v, -1});
        while (at != open.end() && at->first == v &&
               walked[static_cast<std::size_t>(at - open.begin())] != 0) {
            ++at;
        }
        return at != open.end() && at->first == v ? at - open.begin() : std::ptrdiff_t{-1};
    };
    std::vector<std::vector<std::int32_t>> loops;
    std::vector<std::int32_t> path;
    std::vector<std::int32_t> place(scan.vertex_count(), -1); // in the path
    for (std::size_t start = 0; start < open.size(); ++start) {
        if (walked[start] != 0) {
            continue;
        }
        path.assign(1, open[start].first);
        place[static_cast<std::size_t>(path.back())] = 0;
        for (std::ptrdiff_t e = next_from(path.back()); e >= 0; e = next_from(path.back())) {
            walked[static_cast<std::size_t>(e)] = 1;
            const std::int32_t v = open[static_cast<std::size_t>(e)].second;
            const std::int32_t seen = place[static_cast<std::size_t>(v)];
            if (seen < 0) {
                place[static_cast<std::size_t>(v)] = static_cast<std::int32_t>(path.size());
                path.push_back(v);
                continue;
            }
            loops.emplace_back(path.begin() + seen, path.end());
            while (static_cast<std::int32_t>(path.size()) > seen + 1) {
                place[static_cast<std::size_t>(path.back())] = -1;
                path.pop_back();
            }
        }
        for (const std::int32_t v : path) {
            place[static_cast<std::size_t>(v)] = -1;
        }
    }
    return loops;
}

} // namespace KVN::toolkit
