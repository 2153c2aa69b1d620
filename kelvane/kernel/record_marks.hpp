// Every flag bit of the records, with its owner. Two meshes use them differently: the caller's, on
// which the repair works, and the temporary one of the triangulator.
//
// | mesh      | record       | mark         | set by                | cleared by           |
// |-----------|--------------|--------------|-----------------------|----------------------|
// | caller's  | vertex       | in_region    | hole search, on entry | hole search, on exit |
// | caller's  | vertex, face | gathered     | hole neighbourhood    | the same, on exit    |
// | caller's  | vertex       | on_ring      | the removals          | removal, collection  |
// | caller's  | face         | to_delete    | the removals          | never                |
// | caller's  | vertex       | on_new_rim   | closing of rims       | the same, at the end |
// | caller's  | vertex       | is_seed      | open-chain search     | never                |
// | temporary | all          | keep_bit     | triangulator, at once | never                |
// | temporary | vertex       | rejected_bit | ear clipping          | ear clipping         |
// | temporary | vertex       | visit_mark   | refinement            | refinement           |
// | temporary | edge         | rim_mark     | refinement            | refinement           |
//
// Bits of the same value on the same record are never in use at the same time.
#pragma once

#include <cstdint>

namespace Mesh_R {

constexpr std::uint8_t in_region = 1;  ///< around the marker under search
constexpr std::uint8_t gathered = 1;   ///< already in the hole's neighbourhood
constexpr std::uint8_t on_ring = 2;    ///< accepted for a marker or standing around its cut
constexpr std::uint8_t to_delete = 2;  ///< face of a cut; the mark stays on the deleted record
constexpr std::uint8_t on_new_rim = 4; ///< border of a patch with no surface beyond it
constexpr std::uint8_t is_seed = 8;    ///< where an open boundary leaves the ring

constexpr std::uint8_t keep_bit = 1;      ///< record of the input; a vertex with it never moves
constexpr std::uint8_t rejected_bit = 2;  ///< the ear at this vertex was refused
constexpr std::uint8_t visit_mark = 0x20; ///< scratch of the refinement
constexpr std::uint8_t rim_mark = 0x40;   ///< edge on the outline of the patch

template <class Record>
bool has_mark(const Record* record, std::uint8_t mark) {
    return (record->flags & mark) != 0;
}

template <class Record>
void set_mark(Record* record, std::uint8_t mark) {
    record->flags = static_cast<std::uint8_t>(record->flags | mark);
}

template <class Record>
void clear_mark(Record* record, int marks) {
    record->flags = static_cast<std::uint8_t>(record->flags & ~marks);
}

} // namespace Mesh_R
