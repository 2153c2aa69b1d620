#include "kelvane/toolkit/scan/formats/ply_new_records.hpp"

#include "kelvane/toolkit/scan/formats/text_lines.hpp"

#include <algorithm>

namespace KVN::toolkit {

void append_value(std::string& bytes, PlyType type, double value, const PlyHeader& header) {
    with_type(type, [&](auto zero) {
        using T = decltype(zero);
        const T number = rounded<T>(value);
        if (header.format != PlyFormat::ascii) {
            char raw[sizeof(T)];
            store(number, header.swap(), raw);
            bytes.append(raw, sizeof(T));
        } else if constexpr (std::is_floating_point_v<T>) {
            bytes += shortest(number);
        } else {
            bytes += std::to_string(number);
        }
        return 0;
    });
}

PlyNewRecords::PlyNewRecords(const FileReader& file, const PlyHeader& header, const Splice& splice,
                             const Renumbering& renumbering)
    : file_(file), header_(header), splice_(splice), renumbering_(renumbering),
      vertex_(*header.find("vertex")), face_(*header.find("face")),
      text_(header.format == PlyFormat::ascii) {
    for (const std::uint32_t vertex : splice.origin_vertex) {
        vertex_origins_[vertex];
    }
    for (const std::uint64_t face : splice.face_origin) {
        face_origins_[face];
    }
}

PlyNewRecords::Origins& PlyNewRecords::origins(const PlyElement& element) {
    return &element == &vertex_ ? vertex_origins_ : &element == &face_ ? face_origins_ : none_;
}

void PlyNewRecords::note(const PlyElement& element, const PlyRecords& walk, const PlyRecord& record,
                         Origin& origin) const {
    origin.record = record;
    origin.values.clear();
    for (std::size_t p = 0; p < element.properties.size(); ++p) {
        const PlyProperty& property = element.properties[p];
        origin.values.push_back(
            property.is_list ? 0.0 : walk.number(record.value(record.first[p]), property.type));
    }
}

double PlyNewRecords::mixed_value(std::size_t k, std::size_t place) const {
    return mixed(splice_, k,
                 [&](std::uint32_t vertex) { return vertex_origins_.at(vertex).values[place]; });
}

std::string PlyNewRecords::vertex(std::size_t k, const std::string& line_end) const {
    std::size_t axes[3];
    std::size_t normal_axes[3] = {};
    vertex_.find_three({"x", "y", "z"}, axes);
    std::array<double, 3> normal{};
    const bool normals = vertex_.find_three({"nx", "ny", "nz"}, normal_axes);
    if (normals) {
        normal = normal_of(splice_, k,
                           {mixed_value(k, normal_axes[0]), mixed_value(k, normal_axes[1]),
                            mixed_value(k, normal_axes[2])});
    }
    std::string record;
    for (std::size_t p = 0; p < vertex_.properties.size(); ++p) {
        const PlyProperty& property = vertex_.properties[p];
        const auto* const axis = std::find(axes, axes + 3, p);
        const auto* const normal_axis = std::find(normal_axes, normal_axes + 3, p);
        if (property.is_list) {
            const std::int64_t nearest = nearest_origin(splice_, k);
            append_list(record, property, p,
                        nearest < 0 ? nullptr
                                    : &vertex_origins_.at(static_cast<std::uint64_t>(nearest)));
        } else if (axis != axes + 3) {
            append_coordinate(record, property.type,
                              splice_.positions[3 * k + static_cast<std::size_t>(axis - axes)]);
        } else if (normals && normal_axis != normal_axes + 3) {
            append(record, property.type,
                   normal[static_cast<std::size_t>(normal_axis - normal_axes)]);
        } else {
            append(record, property.type, mixed_value(k, p));
        }
    }
    return finished(std::move(record), line_end);
}

std::string PlyNewRecords::face(std::size_t k, const std::string& line_end) const {
    const Origin* origin =
        splice_.face_origin.empty() ? nullptr : &face_origins_.at(splice_.face_origin[k]);
    std::string record;
    for (std::size_t p = 0; p < face_.properties.size(); ++p) {
        const PlyProperty& property = face_.properties[p];
        if (p == header_.index_list()) {
            append_corners(record, property, k);
        } else if (property.is_list) {
            append_list(record, property, p, origin);
        } else {
            append(record, property.type, origin != nullptr ? origin->values[p] : 0.0);
        }
    }
    return finished(std::move(record), line_end);
}

void PlyNewRecords::append(std::string& record, PlyType type, double value) const {
    append_value(record, type, value, header_);
    record += text_ ? " " : "";
}

void PlyNewRecords::append_coordinate(std::string& record, PlyType type, float value) const {
    if (text_ && type == PlyType::float64) {
        record += shortest(value) + " "; // a widened float needs no more digits
    } else {
        append(record, type, static_cast<double>(value));
    }
}

void PlyNewRecords::append_list(std::string& record, const PlyProperty& property, std::size_t place,
                                const Origin* origin) const {
    const std::size_t begin = origin != nullptr ? origin->record.first[place] : 0;
    const std::size_t end = origin != nullptr ? origin->record.first[place + 1] : 0;
    append(record, property.count_type, static_cast<double>(end - begin));
    for (std::size_t v = begin; v < end; ++v) {
        record += origin->record.value(v);
        record += text_ ? " " : "";
    }
}

void PlyNewRecords::append_corners(std::string& record, const PlyProperty& property,
                                   std::size_t k) const {
    append(record, property.count_type, 3.0);
    for (const std::uint32_t corner : splice_.faces[k]) {
        const auto index = static_cast<double>(renumbering_(corner));
        const bool fits = with_type(property.type, [&](auto zero) {
            return static_cast<double>(rounded<decltype(zero)>(index)) == index;
        });
        if (!fits) {
            file_.fail("has a type of vertex indices that is too small for vertex " +
                       std::to_string(renumbering_(corner)));
        }
        append(record, property.type, index);
    }
}

std::string PlyNewRecords::finished(std::string record, const std::string& line_end) const {
    if (text_) {
        record.replace(record.size() - 1, 1, line_end);
    }
    return record;
}

} // namespace KVN::toolkit
