#include "kelvane/toolkit/scan/formats/ply_properties.hpp"

namespace KVN::toolkit {

namespace {

Property::Values values_of(PlyType type) {
    return with_type(type,
                     [](auto zero) { return Property::Values(std::vector<decltype(zero)>()); });
}

/// The properties of an element that arrays hold: numbers, but no coordinates of vertices.
std::vector<std::size_t> array_properties(const PlyElement& element) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < element.properties.size(); ++i) {
        const PlyProperty& property = element.properties[i];
        const bool axis = element.name == "vertex" && property.name.size() == 1 &&
                          property.name[0] >= 'x' && property.name[0] <= 'z';
        if (!axis && !property.is_list) {
            places.push_back(i);
        }
    }
    return places;
}

} // namespace

std::vector<Property> empty_properties(const PlyElement& element) {
    std::vector<Property> properties;
    for (const std::size_t place : array_properties(element)) {
        properties.push_back(
            {element.properties[place].name, values_of(element.properties[place].type)});
    }
    return properties;
}

std::vector<Property> fixed_properties(const FileReader& file, const PlySection& section,
                                       bool swap) {
    std::vector<Property> properties = empty_properties(*section.element);
    const std::vector<std::size_t> places = array_properties(*section.element);
    if (places.empty()) {
        return properties;
    }
    const auto take = [&](std::uint64_t, std::uint64_t count, const char* bytes) {
        for (std::size_t p = 0; p < places.size(); ++p) {
            const char* at = bytes + place_in_record(*section.element, places[p]);
            std::visit(
                [&](auto& values) {
                    using T = typename std::decay_t<decltype(values)>::value_type;
                    for (std::uint64_t i = 0; i < count; ++i) {
                        values.push_back(load<T>(at + i * section.stride, swap));
                    }
                },
                properties[p].values);
        }
    };
    for_blocks(file, section, 0, section.element->count, take);
    return properties;
}

void add_properties(const PlyRecords& records, const PlyElement& element, const PlyRecord& record,
                    std::size_t copies, std::vector<Property>& properties) {
    std::size_t next = 0;
    for (const std::size_t place : array_properties(element)) {
        const double value =
            records.number(record.value(record.first[place]), element.properties[place].type);
        std::visit(
            [&](auto& values) {
                using T = typename std::decay_t<decltype(values)>::value_type;
                values.insert(values.end(), copies, rounded<T>(value));
            },
            properties[next++].values);
    }
}

} // namespace KVN::toolkit
