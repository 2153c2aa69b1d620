// Internal: the memory of a block store. Included by the sources that append to or free a store.
#pragma once

#include "kelvane/kernel/mesh_kernel.hpp"
#include "kelvane/kernel/raw_memory.hpp"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>

namespace Mesh_R {

constexpr std::size_t max_records = std::numeric_limits<std::int32_t>::max();

template <class Record>
Record* BlockStore<Record>::append() {
    reserve_more(1);
    Record* record = new (static_cast<void*>(blocks[fullBlocks] + lastCount)) Record;
    if (++lastCount == blockSize) {
        ++fullBlocks;
        lastCount = 0;
    }
    return record;
}

template <class Record>
void BlockStore<Record>::reserve_more(std::size_t records) {
    // The way taken for nearly all records. Short of the block's last slot, no limit is near.
    if (static_cast<std::size_t>(fullBlocks) < blocks_made &&
        records < static_cast<std::size_t>(blockSize - lastCount)) {
        return;
    }
    const std::size_t used = static_cast<std::size_t>(total());
    if (records > max_records - used) {
        throw std::length_error("a mesh cannot hold more than 2147483647 records of a kind");
    }
    const std::size_t size = static_cast<std::size_t>(blockSize);
    const std::size_t room = blocks_made * size - used;
    if (records <= room) {
        return;
    }
    // Where records come one by one, blocks come in groups that grow with the store: that spares
    // calls to the system.
    const std::size_t group = std::min<std::size_t>(std::max<std::size_t>(blocks_made / 4, 1), 32);
    const std::size_t missing = (records - room + size - 1) / size;
    make_blocks(records < size ? std::max(missing, group) : missing);
}

// `count` more blocks, side by side in one piece of memory; nothing changes if that fails.
template <class Record>
void BlockStore<Record>::make_blocks(std::size_t count) {
    if (blocks_made + count > block_capacity) {
        const std::size_t capacity = std::max(blocks_made + count, block_capacity * 2);
        Record** grown = new Record*[capacity];
        std::copy(blocks, blocks + blocks_made, grown);
        delete[] blocks;
        blocks = grown;
        block_capacity = capacity;
    }
    const std::size_t size = static_cast<std::size_t>(blockSize);
    pieces.reserve(pieces.size() + 1);
    void* memory = take_memory(count * size * sizeof(Record));
    pieces.push_back(memory);
    for (std::size_t i = 0; i < count; ++i) {
        blocks[blocks_made++] = static_cast<Record*>(memory) + i * size;
    }
}

template <class Record>
void BlockStore<Record>::release() {
    for (void* piece : pieces) {
        give_back_memory(piece);
    }
    std::vector<void*>().swap(pieces);
    delete[] blocks;
    blocks = nullptr;
    block_capacity = 0;
    blocks_made = 0;
    fullBlocks = 0;
    lastCount = 0;
}

} // namespace Mesh_R
