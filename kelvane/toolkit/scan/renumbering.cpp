#include "kelvane/toolkit/scan/renumbering.hpp"

namespace KVN::toolkit {

Renumbering::Renumbering(std::uint64_t vertex_count, const std::vector<std::uint32_t>& gone)
    : vertex_count_(vertex_count), gone_count_(gone.size()) {
    if (gone.empty()) {
        return;
    }
    bits_.resize(vertex_count / 64 + 1);
    for (const std::uint32_t vertex : gone) {
        bits_[vertex / 64] |= std::uint64_t{1} << (vertex % 64);
    }
    gone_before_.reserve(bits_.size());
    std::uint32_t count = 0;
    for (const std::uint64_t word : bits_) {
        gone_before_.push_back(count);
        count += static_cast<std::uint32_t>(__builtin_popcountll(word));
    }
}

} // namespace KVN::toolkit
