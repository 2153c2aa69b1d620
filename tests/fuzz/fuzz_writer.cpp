// Turns bytes into a file with properties of all types and a splice, and looks whether the spliced
// file reads as spliced arrays do, and whether taking out what was put in brings every byte back.
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"
#include "tests/fuzz/files.hpp"

#include <algorithm>

namespace {

using namespace KVN::toolkit;
using fuzz::Bytes;
using Polygon = std::vector<std::uint32_t>;

enum class Form { ascii, little, big };

const char* const types[] = {"char", "uchar", "short", "ushort", "int", "uint", "float", "double"};

template <class T>
void put_bytes(double value, bool big, std::string& file) {
    const T number = static_cast<T>(value);
    char raw[sizeof(T)];
    std::memcpy(raw, &number, sizeof(T));
    if (big) {
        std::reverse(raw, raw + sizeof(T));
    }
    file.append(raw, sizeof(T));
}

/// One number of a PLY file; of those that every type can hold.
void put(int type, double value, Form form, std::string& file) {
    using Put = void (*)(double, bool, std::string&);
    static const Put puts[] = {put_bytes<std::int8_t>,  put_bytes<std::uint8_t>,
                               put_bytes<std::int16_t>, put_bytes<std::uint16_t>,
                               put_bytes<std::int32_t>, put_bytes<std::uint32_t>,
                               put_bytes<float>,        put_bytes<double>};
    if (form == Form::ascii) {
        file += std::to_string(static_cast<int>(value)) + " ";
    } else {
        puts[type](value, form == Form::big, file);
    }
}

struct Column {
    std::string name;
    int type;
    bool is_list;
};

/// Properties of one element: those it must have among others, at places that the bytes choose.
std::vector<Column> columns(Bytes& bytes, std::vector<Column> needed) {
    static const char* const others[] = {"red", "nx", "quality", "ny", "a", "nz", "b"};
    for (int i = bytes.byte() % 8; i > 0; --i) {
        const Column other{others[i - 1], bytes.byte() % 8, bytes.byte() % 8 == 0};
        needed.insert(needed.begin() + bytes.byte() % static_cast<int>(needed.size() + 1), other);
    }
    return needed;
}

std::string head_of(const std::string& element, std::size_t count, const std::vector<Column>& all) {
    std::string head = "element " + element + " " + std::to_string(count) + "\n";
    for (const Column& column : all) {
        head += std::string("property ") + (column.is_list ? "list uchar " : "") +
                types[column.type] + " " + column.name + "\n";
    }
    return head;
}

struct Grid {
    int side;
    std::vector<Polygon> polygons;

    explicit Grid(Bytes& bytes) : side(2 + bytes.byte() % 5) {
        for (int i = 0; i + side + 1 < side * side; ++i) {
            if (i % side != side - 1) {
                const auto v = static_cast<std::uint32_t>(i), n = static_cast<std::uint32_t>(side);
                const int kind = bytes.byte() % 8;
                polygons.push_back(kind == 0   ? Polygon{v, v + 1, v + n + 1, v + n}
                                   : kind == 1 ? Polygon{v, v + n}
                                               : Polygon{v, v + 1, v + n + 1});
            }
        }
        polygons.push_back({0, 1, static_cast<std::uint32_t>(side)}); // at least one triangle
    }
    int vertices() const { return side * side; }
    /// x, y, z as whole numbers that every type holds.
    double coordinate(int v, std::size_t axis) const {
        return axis == 0 ? v % side : axis == 1 ? v / side : v % 3;
    }
};

std::string ply_of(const Grid& grid, Form form, Bytes& bytes) {
    const int corner_type = bytes.byte() % 6;
    const std::vector<Column> vertex = columns(
        bytes, {{"x", bytes.byte() % 8, false}, {"y", 6, false}, {"z", bytes.byte() % 8, false}});
    const std::vector<Column> face = columns(bytes, {{"vertex_indices", corner_type, true}});
    static const char* const names[] = {"ascii", "binary_little_endian", "binary_big_endian"};
    std::string file = std::string("ply\nformat ") + names[static_cast<int>(form)] +
                       " 1.0\ncomment kept\n" +
                       head_of("vertex", static_cast<std::size_t>(grid.vertices()), vertex) +
                       head_of("face", grid.polygons.size(), face) + "end_header\n";
    const auto put_other = [&](const Column& column) {
        const int values = column.is_list ? bytes.byte() % 3 : 1;
        if (column.is_list) {
            put(1, values, form, file);
        }
        for (int i = 0; i < values; ++i) {
            put(column.type, bytes.whole(), form, file);
        }
    };
    const auto end_record = [&] {
        if (form == Form::ascii) {
            file.back() = '\n';
        }
    };
    for (int v = 0; v < grid.vertices(); ++v) {
        for (const Column& column : vertex) {
            const char axis = column.name[0];
            if (axis >= 'x' && axis <= 'z') {
                put(column.type, grid.coordinate(v, static_cast<std::size_t>(axis - 'x')), form,
                    file);
            } else {
                put_other(column);
            }
        }
        end_record();
    }
    for (const Polygon& polygon : grid.polygons) {
        for (const Column& column : face) {
            if (column.name != "vertex_indices") {
                put_other(column);
                continue;
            }
            put(1, static_cast<double>(polygon.size()), form, file);
            for (const std::uint32_t corner : polygon) {
                put(corner_type, corner, form, file);
            }
        }
        end_record();
    }
    return file;
}

/// OBJ, or OFF, with colours if the bytes want them.
std::string text_of(const Grid& grid, bool obj, Bytes& bytes) {
    const bool colours = bytes.coin();
    std::string file = obj ? "# kept\n"
                           : (colours ? "COFF\n" : "OFF\n") + std::to_string(grid.vertices()) +
                                 " " + std::to_string(grid.polygons.size()) + " 0\n";
    for (int v = 0; v < grid.vertices(); ++v) {
        file += obj ? "v" : "";
        for (std::size_t axis = 0; axis < 3; ++axis) {
            file += " " + std::to_string(static_cast<int>(grid.coordinate(v, axis)));
        }
        for (int i = 0; colours && i < (obj ? 3 : 4); ++i) { // whole numbers alone would be bytes
            file += " " + std::to_string(v == 0 ? 0.5 : bytes.byte() / 8.0);
        }
        file += "\n";
    }
    for (const Polygon& polygon : grid.polygons) {
        file += obj ? "f" : std::to_string(polygon.size());
        for (const std::uint32_t corner : polygon) {
            file += " " + std::to_string(corner + (obj ? 1 : 0));
        }
        file += "\n";
    }
    return file;
}

/// The same change for the file's records and for the triangles of its arrays.
struct Change {
    Splice records;
    Splice triangles;

    Change(const Grid& grid, bool removes, Bytes& bytes) {
        const auto old = static_cast<std::uint32_t>(grid.vertices());
        std::vector<bool> gone(old);
        for (std::uint32_t v = 1; removes && v < old; ++v) { // vertex 0 stays
            gone[v] = bytes.byte() % 8 == 0;
            if (gone[v]) {
                records.vertices_gone.push_back(v);
            }
        }
        triangles = records;
        const std::vector<std::uint64_t> first = remove_faces(grid, gone, removes, bytes);
        const auto vertex = [&] {
            const auto v = static_cast<std::uint32_t>(bytes.below(static_cast<int>(old)));
            return gone[v] ? 0 : v;
        };
        records.origin_begin = {0};
        for (int i = 1 + bytes.byte() % 3; i > 0; --i) {
            records.positions.insert(records.positions.end(), {bytes.whole(), bytes.whole(), 7.0F});
            records.origin_vertex.insert(records.origin_vertex.end(), {vertex(), vertex()});
            records.origin_weight.insert(records.origin_weight.end(), {0.25F, 0.75F});
            records.origin_begin.push_back(records.origin_begin.back() + 2);
        }
        const bool has_origins = bytes.coin();
        for (int i = 1 + bytes.byte() % 4; i > 0; --i) {
            const auto fresh = static_cast<std::uint32_t>(
                bytes.below(static_cast<int>(records.new_vertex_count())));
            records.faces.push_back({0, vertex(), old + fresh});
            if (has_origins) {
                const auto record =
                    static_cast<std::size_t>(bytes.below(static_cast<int>(grid.polygons.size())));
                const bool is_short = grid.polygons[record].size() < 3;
                records.face_origin.push_back(is_short ? grid.polygons.size() - 1 : record);
                triangles.face_origin.push_back(first[records.face_origin.back()]);
            }
        }
        triangles.positions = records.positions;
        triangles.faces = records.faces;
        triangles.origin_begin = records.origin_begin;
        triangles.origin_vertex = records.origin_vertex;
        triangles.origin_weight = records.origin_weight;
    }

  private:
    /// Returns the first triangle of every record.
    std::vector<std::uint64_t> remove_faces(const Grid& grid, const std::vector<bool>& gone,
                                            bool removes, Bytes& bytes) {
        std::vector<std::uint64_t> first;
        std::uint64_t triangle = 0;
        for (std::size_t f = 0; f < grid.polygons.size(); ++f) {
            const Polygon& polygon = grid.polygons[f];
            const bool listed = removes && bytes.byte() % 8 == 0;
            if (listed) {
                records.faces_gone.push_back(f);
            }
            const bool goes = listed || std::any_of(polygon.begin(), polygon.end(),
                                                    [&](std::uint32_t v) { return gone[v]; });
            first.push_back(triangle);
            for (std::size_t i = 2; i < polygon.size(); ++i, ++triangle) {
                if (goes) {
                    triangles.faces_gone.push_back(triangle);
                }
            }
        }
        return first;
    }
};

void expect_same(const std::vector<Property>& a, const std::vector<Property>& b) {
    bool same = a.size() == b.size();
    for (std::size_t i = 0; same && i < a.size(); ++i) {
        same = a[i].name == b[i].name && a[i].values == b[i].values;
    }
    fuzz::expect_none(same ? "" : "properties differ");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Folder folder;
    Bytes bytes(data, size);
    const int kind = bytes.byte() % 5;
    const std::string extension = kind < 3 ? ".ply" : kind == 3 ? ".obj" : ".off";
    const Grid grid(bytes);
    const std::string before =
        kind < 3 ? ply_of(grid, static_cast<Form>(kind), bytes) : text_of(grid, kind == 3, bytes);
    const auto scan = open_scan(folder.put("in" + extension, before));

    const Change change(grid, true, bytes);
    write_spliced(*scan, change.records, folder / ("out" + extension));
    Scan expected = scan->to_scan();
    apply_splice(expected, change.triangles);
    const Scan read = read_scan(folder / ("out" + extension));
    fuzz::expect_none(fuzz::same_bits(read.positions, expected.positions) ? "" : "positions");
    fuzz::expect_none(read.triangles == expected.triangles ? "" : "triangles");
    expect_same(read.vertex_properties, expected.vertex_properties);
    expect_same(read.face_properties, expected.face_properties);

    const Change more(grid, false, bytes);
    write_spliced(*scan, more.records, folder / ("more" + extension));
    const auto larger = open_scan(folder / ("more" + extension));
    Splice less;
    for (std::uint64_t v = scan->vertex_count(); v < larger->vertex_count(); ++v) {
        less.vertices_gone.push_back(static_cast<std::uint32_t>(v));
    }
    write_spliced(*larger, less, folder / ("again" + extension));
    fuzz::expect_none(fuzz::Folder::content(folder / ("again" + extension)) == before
                          ? ""
                          : "an untouched record changed");
    return 0;
}
