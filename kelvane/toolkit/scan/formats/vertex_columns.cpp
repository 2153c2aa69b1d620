#include "kelvane/toolkit/scan/formats/vertex_columns.hpp"

#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace KVN::toolkit {

namespace {

template <class T>
Property as_property(const std::string& name, const std::vector<float>& values) {
    return {name, std::vector<T>(values.begin(), values.end())};
}

} // namespace

void VertexColumns::add(const std::string_view* begin, const std::string_view* end) {
    std::size_t width = 0;
    float value = 0.0F;
    for (const auto* word = begin; word < end && parse_number(*word, value); ++word) {
        values_.push_back(value);
        ++width;
    }
    even_ = even_ && (!begun_ || width == width_);
    width_ = width;
    begun_ = true;
}

std::vector<Property> VertexColumns::named(std::size_t first,
                                           const std::vector<std::string>& names) const {
    std::vector<std::vector<float>> columns(names.size());
    bool bytes = true;
    float largest = 0.0F;
    for (std::size_t row = 0; row < values_.size(); row += width_) {
        for (std::size_t c = 0; c < names.size(); ++c) {
            const float value = values_[row + first + c];
            bytes = bytes && value >= 0.0F && value <= 255.0F && value == std::floor(value);
            largest = std::max(largest, value);
            columns[c].push_back(value);
        }
    }
    bytes = bytes && largest > 1.0F;
    std::vector<Property> properties;
    for (std::size_t c = 0; c < names.size(); ++c) {
        properties.push_back(bytes ? as_property<std::uint8_t>(names[c], columns[c])
                                   : as_property<float>(names[c], columns[c]));
    }
    return properties;
}

} // namespace KVN::toolkit
