// Turns bytes into a PLY file with properties of all types and a splice, and looks whether the
// spliced file reads as spliced arrays do, and whether taking out what was put in brings every byte
// back.
#include "kelvane/toolkit/scan/open_scan.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/scan/splice_arrays.hpp"
#include "tests/fuzz/files.hpp"

#include <algorithm>

namespace {

using namespace KVN::toolkit;
using fuzz::Bytes;

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

/// A square of triangles whose coordinates are whole numbers that every type holds.
struct Grid {
    int side;
    std::vector<std::int32_t> triangles;

    explicit Grid(Bytes& bytes) : side(2 + bytes.byte() % 5) {
        for (int v = 0; v + side + 1 < vertices(); ++v) {
            if (v % side != side - 1) {
                triangles.insert(triangles.end(), {v, v + 1, v + side + 1});
            }
        }
    }
    int vertices() const { return side * side; }
    std::size_t faces() const { return triangles.size() / 3; }
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
                       head_of("face", grid.faces(), face) + "end_header\n";
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
    for (std::size_t f = 0; f < grid.faces(); ++f) {
        for (const Column& column : face) {
            if (column.name != "vertex_indices") {
                put_other(column);
                continue;
            }
            put(1, 3, form, file);
            for (std::size_t c = 0; c < 3; ++c) {
                put(corner_type, grid.triangles[3 * f + c], form, file);
            }
        }
        end_record();
    }
    return file;
}

/// Takes vertices and faces out if it `removes`, and puts some of both in.
Splice change_of(const Grid& grid, bool removes, Bytes& bytes) {
    Splice splice;
    const auto old = static_cast<std::uint32_t>(grid.vertices());
    std::vector<std::uint32_t> staying{0};
    for (std::uint32_t v = 1; v < old; ++v) {
        const bool goes = removes && bytes.byte() % 8 == 0;
        (goes ? splice.vertices_gone : staying).push_back(v);
    }
    for (std::size_t f = 0; f < grid.faces(); ++f) {
        if (removes && bytes.byte() % 8 == 0) {
            splice.faces_gone.push_back(f);
        }
    }
    const auto vertex = [&] {
        return staying[static_cast<std::size_t>(bytes.below(static_cast<int>(staying.size())))];
    };
    splice.origin_begin = {0};
    for (int i = 1 + bytes.byte() % 3; i > 0; --i) {
        splice.positions.insert(splice.positions.end(), {bytes.whole(), bytes.whole(), 7.0F});
        splice.origin_vertex.insert(splice.origin_vertex.end(), {vertex(), vertex()});
        splice.origin_weight.insert(splice.origin_weight.end(), {0.25F, 0.75F});
        splice.origin_begin.push_back(splice.origin_begin.back() + 2);
    }
    const bool has_origins = bytes.coin();
    for (int i = 1 + bytes.byte() % 4; i > 0; --i) {
        const int fresh = bytes.below(static_cast<int>(splice.new_vertex_count()));
        splice.faces.push_back({0, vertex(), old + static_cast<std::uint32_t>(fresh)});
        if (has_origins) {
            splice.face_origin.push_back(
                static_cast<std::uint64_t>(bytes.below(static_cast<int>(grid.faces()))));
        }
    }
    return splice;
}

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
    const auto form = static_cast<Form>(bytes.byte() % 3);
    const Grid grid(bytes);
    const std::string before = ply_of(grid, form, bytes);
    const auto scan = open_scan(folder.put("in.ply", before));

    const Splice change = change_of(grid, true, bytes);
    write_spliced(*scan, change, folder / "out.ply");
    Scan expected = scan->to_scan();
    apply_splice(expected, change);
    const Scan read = read_scan(folder / "out.ply");
    fuzz::expect_none(fuzz::same_bits(read.positions, expected.positions) ? "" : "positions");
    fuzz::expect_none(read.triangles == expected.triangles ? "" : "triangles");
    expect_same(read.vertex_properties, expected.vertex_properties);
    expect_same(read.face_properties, expected.face_properties);

    write_spliced(*scan, change_of(grid, false, bytes), folder / "more.ply");
    const auto larger = open_scan(folder / "more.ply");
    Splice less;
    for (std::uint64_t v = scan->vertex_count(); v < larger->vertex_count(); ++v) {
        less.vertices_gone.push_back(static_cast<std::uint32_t>(v));
    }
    write_spliced(*larger, less, folder / "again.ply");
    fuzz::expect_none(
        fuzz::Folder::content(folder / "again.ply") == before ? "" : "an untouched record changed");
    return 0;
}
