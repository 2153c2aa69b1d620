// Internal: from the address of a record to its place in the store.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace Mesh_R {

/// Looks up store indices by address, for one store that does not grow meanwhile. Blocks that
/// follow each other in memory are taken as one range, of which a store has few.
template <class Record>
class RecordIndex {
  public:
    explicit RecordIndex(const BlockStore<Record>& store) {
        for (std::int32_t block = 0; block <= store.fullBlocks; ++block) {
            const std::int32_t used = block < store.fullBlocks ? store.blockSize : store.lastCount;
            if (used == 0) {
                continue;
            }
            const Record* begin = store.blocks[block];
            if (!ranges.empty() && ranges.back().end == begin) {
                ranges.back().end = begin + used;
            } else {
                ranges.push_back({begin, begin + used, block * store.blockSize});
            }
        }
        std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) {
            return std::less<const Record*>()(a.begin, b.begin);
        });
    }

    /// The record's store index, or -1 if `record` is not the address of a record of the store.
    std::int32_t of(const Record* record) const {
        const auto after = std::upper_bound(ranges.begin(), ranges.end(), record,
                                            [](const Record* r, const Range& range) {
                                                return std::less<const Record*>()(r, range.begin);
                                            });
        if (after == ranges.begin()) {
            return -1;
        }
        const Range& range = *(after - 1);
        const auto from = reinterpret_cast<std::uintptr_t>(range.begin);
        const auto to = reinterpret_cast<std::uintptr_t>(range.end);
        const auto address = reinterpret_cast<std::uintptr_t>(record);
        if (address >= to || (address - from) % sizeof(Record) != 0) {
            return -1;
        }
        return range.first + static_cast<std::int32_t>((address - from) / sizeof(Record));
    }

  private:
    struct Range {
        const Record* begin;
        const Record* end;
        std::int32_t first; ///< store index of the record at `begin`
    };
    std::vector<Range> ranges;
};

} // namespace Mesh_R
