// Construction, and the greedy clipping of the front.
#include "kelvane/triangulator/hole_triangulator.hpp"

#include "kelvane/triangulator/patch_records.hpp"

#include <algorithm>
#include <functional>
#include <limits>
#include <queue>

namespace KVN {

namespace {

constexpr double no_ear = std::numeric_limits<double>::max();

/// The guard for the smallest borders, in faces. A million took 2 GB and 25 s. A border of 20 of
/// which one vertex lies twelve times as far off as the others passes 40,000 on its way.
constexpr std::int64_t memory_guard_faces = 1'000'000;

/// Assigns the keep bit to the whole flags byte of every live record of a store.
template <class Store>
void keep_all(Store& store) {
    const int total = store.total();
    for (int i = 0; i < total; ++i) {
        auto& record = store.at(i);
        if (record.status != Mesh_R::status_deleted) {
            record.flags = keep_bit;
        }
    }
}

bool has_repeats(std::vector<_vert*> verts) {
    std::sort(verts.begin(), verts.end(), std::less<_vert*>());
    return std::adjacent_find(verts.begin(), verts.end()) != verts.end();
}

/// The front as a closed, doubly linked list over the boundary's entries. Entries only ever leave,
/// so their numbers keep the order of the front.
class Front {
  public:
    struct Entry {
        _vert* vert;
        int prev;
        int next;
        int offer; ///< number of the offer that counts; older ones are stale
        bool open; ///< still in the front
    };

    explicit Front(const std::vector<_vert*>& boundary)
        : remaining(static_cast<int>(boundary.size())) {
        for (int i = 0; i < remaining; ++i) {
            entries.push_back({boundary[static_cast<std::size_t>(i)],
                               i == 0 ? remaining - 1 : i - 1, i + 1 == remaining ? 0 : i + 1, 0,
                               true});
        }
    }

    int size() const { return static_cast<int>(entries.size()); }
    int open_entries() const { return remaining; }
    const Entry& operator[](int i) const { return entries[static_cast<std::size_t>(i)]; }
    _vert* prev_vert(int i) const { return (*this)[(*this)[i].prev].vert; }
    _vert* next_vert(int i) const { return (*this)[(*this)[i].next].vert; }

    void remove(int i) {
        Entry& entry = at(i);
        at(entry.prev).next = entry.next;
        at(entry.next).prev = entry.prev;
        entry.open = false;
        --remaining;
    }

    /// Offers entry `i` at `cost` in place of any earlier offer. A cost that can never be picked
    /// (the largest double and above, or no number) only withdraws the earlier one.
    void offer(int i, double cost) {
        Entry& entry = at(i);
        ++entry.offer;
        if (no_ear > cost) {
            offers.push({cost, i, entry.offer});
        }
    }

    /// Takes the cheapest valid offer, among equal ones that of the lowest entry; -1 if there is
    /// none.
    int take() {
        while (!offers.empty()) {
            const Offer best = offers.top();
            offers.pop();
            const Entry& entry = (*this)[best.entry];
            if (entry.open && entry.offer == best.number && !has_mark(entry.vert, rejected_bit)) {
                return best.entry;
            }
        }
        return -1;
    }

  private:
    struct Offer {
        double cost;
        int entry;
        int number;

        bool operator<(const Offer& other) const { // the top of the queue is the greatest
            return cost != other.cost ? cost > other.cost : entry > other.entry;
        }
    };

    Entry& at(int i) { return entries[static_cast<std::size_t>(i)]; }

    std::vector<Entry> entries;
    std::priority_queue<Offer> offers;
    int remaining;
};

} // namespace

HoleTriangulator::HoleTriangulator(Mesh* mesh_, std::vector<_vert*>& boundary_)
    : mesh(mesh_), boundary(boundary_) {
    keep_all(mesh->edges);
    keep_all(mesh->vertices);
    keep_all(mesh->faces);

    const auto loop = static_cast<std::int64_t>(boundary.size());
    memory_guard = mesh->faces.liveCount + memory_guard_faces + 8 * loop * loop;
}

HoleTriangulator::~HoleTriangulator() = default;

void HoleTriangulator::fill_front() {
    std::vector<_face*> new_faces;
    clip_front(new_faces);
    refine_patch(new_faces);
    remesh_patch();
}

// A cost depends on the positions of three neighbours in the front, on the two edges between them
// and on the first face of each. A clip changes the three edges of its triangle and moves nothing,
// so with distinct vertices only the two neighbours of the clipped entry get a new cost; all others
// keep theirs to the bit. A front that passes a vertex twice has its costs computed afresh.
void HoleTriangulator::clip_front(std::vector<_face*>& new_faces) {
    if (boundary.size() <= 2) {
        return;
    }
    Front front(boundary);
    const auto renew = [&](int i) {
        front.offer(i, corner_cost(front.prev_vert(i), front[i].vert, front.next_vert(i)));
    };
    const auto renew_all = [&] {
        for (int i = 0; i < front.size(); ++i) {
            if (front[i].open) {
                renew(i);
            }
        }
    };

    const bool repeats = has_repeats(boundary);
    renew_all();
    while (front.open_entries() > 2) {
        const int picked = front.take();
        if (picked < 0) {
            break; // the rest of the front stays open
        }
        const int prev = front[picked].prev;
        const int next = front[picked].next;
        _face* ear = add_ear(front[prev].vert, front[picked].vert, front[next].vert);
        if (ear == nullptr) {
            set_mark(front[picked].vert, rejected_bit); // until a neighbour has been clipped
            continue;
        }
        new_faces.push_back(ear);
        front.remove(picked);
        clear_mark(front[prev].vert, rejected_bit);
        clear_mark(front[next].vert, rejected_bit);
        if (repeats) {
            renew_all();
        } else {
            renew(prev);
            renew(next);
        }
    }
}

} // namespace KVN
