#include "kelvane/toolkit/scan/formats/ply_scan.hpp"

#include "kelvane/toolkit/scan/formats/ply_properties.hpp"

#include <algorithm>

namespace KVN::toolkit {

namespace {

constexpr std::size_t read_ahead = std::size_t{1} << 20; // bytes; amortises the system calls

} // namespace

std::size_t place_in_record(const PlyElement& element, std::size_t place) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < place; ++i) {
        const PlyProperty& property = element.properties[i];
        offset += property.is_list ? size_of(property.count_type) + 3 * size_of(property.type)
                                   : size_of(property.type);
    }
    return offset;
}

const PlySection* PlyParts::section(const PlyElement& element) const {
    for (const PlySection& section : sections) {
        if (section.element == &element) {
            return &section;
        }
    }
    return nullptr;
}

std::unique_ptr<PlyRecords> PlyParts::records(std::uint64_t offset) const {
    return header.format == PlyFormat::ascii ? text_records(text, header)
                                             : binary_records(file, header, offset, read_ahead);
}

PlyScan::PlyScan(const std::filesystem::path& file)
    : file_(file), header_(read_ply_header(file_)), vertex_(header_.find("vertex")),
      face_(header_.find("face")) {
    if (header_.format == PlyFormat::ascii) {
        text_ = file_.load();
    } else {
        find_sections();
    }
    if (faces_ == nullptr) {
        decode();
    }
}

bool PlyScan::has_normals() const {
    std::size_t places[3];
    return vertex_->find_three({"nx", "ny", "nz"}, places);
}

void PlyScan::find_sections() {
    std::uint64_t offset = header_.body;
    for (const PlyElement& element : header_.elements) {
        PlySection section{&element, offset, element.fixed_size()};
        if (&element == face_ && is_triangles(offset)) {
            section.stride = place_in_record(element, element.properties.size());
        }
        if (section.stride == 0) {
            break; // nothing tells where the next element begins
        }
        const std::uint64_t fitting = (file_.size() - offset) / section.stride;
        if (element.count > fitting) {
            file_.fail("ends before " + element.name + " " + std::to_string(fitting));
        }
        offset += element.count * section.stride;
        sections_.push_back(section);
    }
    vertices_ = parts().section(*vertex_);
    faces_ = parts().section(*face_);
    if (vertices_ == nullptr || faces_ == nullptr) {
        sections_.clear();
        vertices_ = faces_ = nullptr;
    }
}

/// Whether all face records from byte `begin` on are triangles, and so of one size.
bool PlyScan::is_triangles(std::uint64_t begin) const {
    const std::size_t list = header_.index_list();
    const PlyProperty& indices = face_->properties[list];
    for (std::size_t i = 0; i < face_->properties.size(); ++i) {
        if (i != list && face_->properties[i].is_list) {
            return false;
        }
    }
    const std::uint64_t stride = place_in_record(*face_, face_->properties.size());
    if (face_->count > (file_.size() - begin) / stride) {
        return false;
    }
    const PlySection section{face_, begin, stride};
    const std::size_t at = place_in_record(*face_, list);
    const bool swap = header_.swap();
    bool all = true;
    for_blocks(file_, section, 0, face_->count,
               [&](std::uint64_t, std::uint64_t count, const char* bytes) {
                   all = all && with_type(indices.count_type, [&](auto zero) {
                             for (std::uint64_t i = 0; i < count; ++i) {
                                 if (load<decltype(zero)>(bytes + i * stride + at, swap) != 3) {
                                     return false;
                                 }
                             }
                             return true;
                         });
               });
    return all;
}

void PlyScan::refuse_corner(std::uint64_t record, std::int64_t vertex) const {
    file_.fail("face " + std::to_string(record) + " " + no_such_vertex(vertex, vertex_->count));
}

void PlyScan::decode() {
    decoded_.emplace();
    const auto walk = parts().records(header_.body);
    const PlyType index_type = face_->properties[header_.index_list()].type;
    std::size_t axes[3];
    vertex_->find_three({"x", "y", "z"}, axes);
    PlyRecord record;
    std::vector<std::int32_t> polygon;
    for (const PlyElement& element : header_.elements) {
        const std::uint64_t count = element.properties.empty() ? 0 : element.count;
        for (std::uint64_t i = 0; i < count; ++i) {
            walk->next(element, i, record);
            if (&element == vertex_) {
                for (const std::size_t axis : axes) {
                    decoded_->positions.push_back(walk->coordinate(record.value(record.first[axis]),
                                                                   element.properties[axis].type));
                }
            } else if (&element == face_) {
                polygon.clear();
                const std::size_t list = header_.index_list();
                for (std::size_t v = record.first[list]; v < record.first[list + 1]; ++v) {
                    const std::int64_t vertex = walk->integer(record.value(v), index_type);
                    if (vertex < 0 || static_cast<std::uint64_t>(vertex) >= vertex_->count) {
                        walk->fail(no_such_vertex(vertex, vertex_->count));
                    }
                    polygon.push_back(static_cast<std::int32_t>(vertex));
                }
                decoded_->add_face(polygon);
            }
        }
    }
    if (const char* fault = decoded_->fault()) {
        file_.fail(fault);
    }
}

void PlyScan::positions_into(std::uint64_t first, std::uint64_t count, float* positions) const {
    if (decoded_) {
        decoded_->positions_into(first, count, positions);
        return;
    }
    std::size_t axes[3];
    vertex_->find_three({"x", "y", "z"}, axes);
    const bool swap = header_.swap();
    const std::uint64_t stride = vertices_->stride;
    for_blocks(file_, *vertices_, first, count,
               [&](std::uint64_t block, std::uint64_t n, const char* bytes) {
                   for (std::size_t axis = 0; axis < 3; ++axis) {
                       const PlyType type = vertex_->properties[axes[axis]].type;
                       const char* at = bytes + place_in_record(*vertex_, axes[axis]);
                       float* to = positions + 3 * (block - first) + axis;
                       const bool fits = with_type(type, [&](auto zero) {
                           bool all = true;
                           for (std::uint64_t i = 0; i < n; ++i) {
                               const auto value = load<decltype(zero)>(at + i * stride, swap);
                               if constexpr (std::is_same_v<decltype(zero), double>) {
                                   all = narrow(value, to[3 * i]) && all;
                               } else {
                                   to[3 * i] = static_cast<float>(value);
                               }
                           }
                           return all;
                       });
                       if (!fits) {
                           file_.fail("one of the vertices from " + std::to_string(block) +
                                      " on has a coordinate that is too large for single "
                                      "precision");
                       }
                   }
               });
}

void PlyScan::corners_into(std::uint64_t first, std::uint64_t count,
                           std::vector<std::int32_t>& corners,
                           std::vector<std::uint64_t>& records) const {
    if (decoded_) {
        decoded_->corners_into(first, count, corners, records);
        return;
    }
    corners.resize(3 * count);
    records.clear();
    const PlyProperty& list = face_->properties[header_.index_list()];
    const std::size_t at = place_in_record(*face_, header_.index_list()) + size_of(list.count_type);
    const bool swap = header_.swap();
    const std::uint64_t stride = faces_->stride;
    const std::uint64_t vertices = vertex_->count;
    for_blocks(
        file_, *faces_, first, count, [&](std::uint64_t start, std::uint64_t n, const char* bytes) {
            std::int32_t* to = corners.data() + 3 * (start - first);
            with_type(list.type, [&](auto zero) {
                using T = decltype(zero);
                for (std::uint64_t i = 0; i < n; ++i) {
                    for (std::uint64_t c = 0; c < 3; ++c) {
                        const T value = load<T>(bytes + i * stride + at + c * sizeof(T), swap);
                        const auto vertex = static_cast<std::int64_t>(value);
                        if (static_cast<std::uint64_t>(vertex) >= vertices) { // also below zero
                            refuse_corner(start + i, vertex);
                        }
                        to[3 * i + c] = static_cast<std::int32_t>(vertex);
                    }
                }
                return 0;
            });
        });
}

Scan PlyScan::to_scan() const {
    Scan scan;
    if (!decoded_) {
        scan.positions.resize(3 * vertex_count());
        positions_into(0, vertex_count(), scan.positions.data());
        std::vector<std::uint64_t> records;
        corners_into(0, face_count(), scan.triangles, records);
        scan.vertex_properties = fixed_properties(file_, *vertices_, header_.swap());
        scan.face_properties = fixed_properties(file_, *faces_, header_.swap());
        return scan;
    }
    scan = decoded_->to_scan();
    scan.vertex_properties = empty_properties(*vertex_);
    scan.face_properties = empty_properties(*face_);
    if (scan.vertex_properties.empty() && scan.face_properties.empty()) {
        return scan;
    }
    const auto walk = parts().records(header_.body);
    const std::size_t list = header_.index_list();
    PlyRecord record;
    for (const PlyElement& element : header_.elements) {
        const std::uint64_t count = element.properties.empty() ? 0 : element.count;
        for (std::uint64_t i = 0; i < count; ++i) {
            walk->next(element, i, record);
            if (&element == vertex_) {
                add_properties(*walk, element, record, 1, scan.vertex_properties);
            } else if (&element == face_) {
                const std::size_t corners = record.first[list + 1] - record.first[list];
                add_properties(*walk, element, record, corners < 3 ? 0 : corners - 2,
                               scan.face_properties);
            }
        }
    }
    return scan;
}

std::vector<std::string> PlyScan::beyond_arrays() const {
    std::vector<std::string> held;
    const std::string head = file_.read(0, header_.body);
    if (head.find("\ncomment") != std::string::npos ||
        head.find("\nobj_info") != std::string::npos) {
        held.push_back("the comments");
    }
    for (const PlyElement& element : header_.elements) {
        if (&element != vertex_ && &element != face_) {
            held.push_back("the element '" + element.name + "'");
            continue;
        }
        for (std::size_t i = 0; i < element.properties.size(); ++i) {
            const PlyProperty& property = element.properties[i];
            if (property.is_list && (&element == vertex_ || i != header_.index_list())) {
                held.push_back("the " + element.name + " list '" + property.name + "'");
            }
        }
    }
    return held;
}

void PlyScan::splice_into(OutputFile& out, const Splice& splice) const {
    splice_ply(parts(), splice, out);
}

std::unique_ptr<OpenScan> open_ply(const std::filesystem::path& file) {
    return std::make_unique<PlyScan>(file);
}

} // namespace KVN::toolkit
