#include "kelvane/toolkit/scan/formats/vertex_extras.hpp"

#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <array>
#include <cmath>

namespace KVN::toolkit {

VertexExtras::VertexExtras(const Splice& splice, bool keep_whole, int normal_at)
    : splice_(splice), keep_whole_(keep_whole), normal_at_(normal_at) {
    for (const std::uint32_t vertex : splice.origin_vertex) {
        extras_[vertex];
    }
}

void VertexExtras::pass(std::uint64_t vertex, const std::string_view* begin,
                        const std::string_view* end) {
    const auto found = extras_.find(static_cast<std::uint32_t>(vertex));
    if (found == extras_.end()) {
        return;
    }
    Extras& extras = found->second;
    for (const auto* word = begin; word < end; ++word) {
        double value = 0.0;
        std::int64_t integer = 0;
        if (!parse_number(*word, value)) {
            return; // not a column of numbers, nor are those behind it
        }
        extras.values.push_back(value);
        extras.whole.push_back(parse_number(*word, integer));
    }
}

double VertexExtras::value(std::uint32_t vertex, std::size_t column) const {
    const Extras& extras = extras_.at(vertex);
    return column < extras.values.size() ? extras.values[column] : 0.0;
}

bool VertexExtras::is_whole(std::size_t k, std::size_t column) const {
    bool whole = keep_whole_;
    for (std::uint32_t i = splice_.origin_begin[k]; i < splice_.origin_begin[k + 1]; ++i) {
        const Extras& extras = extras_.at(splice_.origin_vertex[i]);
        whole = whole && column < extras.whole.size() && extras.whole[column];
    }
    return whole;
}

std::string VertexExtras::position_and_extras(std::size_t k) const {
    std::string text;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        text += " " + shortest(splice_.positions[3 * k + axis]);
    }
    const std::int64_t nearest = nearest_origin(splice_, k);
    if (nearest < 0) {
        return text;
    }
    const auto column_value = [&](std::size_t column) {
        return mixed(splice_, k, [&](std::uint32_t v) { return value(v, column); });
    };
    const std::size_t columns = extras_.at(static_cast<std::uint32_t>(nearest)).values.size();
    const auto normal_at = static_cast<std::size_t>(normal_at_);
    std::array<double, 3> normal{};
    if (normal_at_ >= 0) {
        normal = normal_of(
            splice_, k,
            {column_value(normal_at), column_value(normal_at + 1), column_value(normal_at + 2)});
    }
    for (std::size_t column = 0; column < columns; ++column) {
        if (normal_at_ >= 0 && column >= normal_at && column < normal_at + 3) {
            text += " " + shortest(static_cast<float>(normal[column - normal_at]));
        } else if (is_whole(k, column)) {
            text += " " + std::to_string(std::llround(column_value(column)));
        } else {
            text += " " + shortest(static_cast<float>(column_value(column)));
        }
    }
    return text;
}

} // namespace KVN::toolkit
