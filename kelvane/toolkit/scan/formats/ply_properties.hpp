// Properties of PLY elements as arrays.
#pragma once

#include "kelvane/toolkit/scan/formats/ply_scan.hpp"
#include "kelvane/toolkit/scan/scan.hpp"

#include <cstddef>
#include <vector>

namespace KVN::toolkit {

/// The properties of an element that arrays hold, without values: all numbers but the coordinates
/// of vertices; no lists.
std::vector<Property> empty_properties(const PlyElement& element);

/// The same with the values of all records of a section, column by column of each block.
std::vector<Property> fixed_properties(const FileReader& file, const PlySection& section,
                                       bool swap);

/// Adds the values of the record that `records` has just read, `copies` times each.
void add_properties(const PlyRecords& records, const PlyElement& element, const PlyRecord& record,
                    std::size_t copies, std::vector<Property>& properties);

} // namespace KVN::toolkit
