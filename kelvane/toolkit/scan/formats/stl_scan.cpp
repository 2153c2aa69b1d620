// STL, ascii or binary: facets with corners of their own, welded where these are equal.
#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/point_weld.hpp"
#include "kelvane/toolkit/scan/formats/stl_facet.hpp"
#include "kelvane/toolkit/scan/formats/stl_text.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <algorithm>
#include <limits>
#include <map>

namespace KVN::toolkit {

namespace {

constexpr std::size_t block_facets = 4096; // 200 kB, which stay in the second-level cache

class StlScan final : public DecodedScan {
  public:
    explicit StlScan(const std::filesystem::path& file) : file_(file) {
        is_text_ = !has_binary_length() && begins_with_solid();
        if (is_text_) {
            text_ = file_.load();
        } else {
            check_length();
        }
        PointWeld weld(decoded_.positions);
        for_facets([&](const StlFacet& facet) { add(weld, facet); });
        if (const char* fault = decoded_.fault()) {
            file_.fail(decoded_.positions.empty() ? "has no faces" : fault);
        }
    }

  private:
    std::uint32_t promised() const {
        return file_.size() < stl_header_size
                   ? 0
                   : load<std::uint32_t>(file_.read(80, 4).data(), stl_swap());
    }

    // Binary files may begin with "solid" too, so their exact length is the first thing to ask.
    bool has_binary_length() const {
        return file_.size() >= stl_header_size &&
               file_.size() == stl_header_size + std::uint64_t{promised()} * stl_record_size;
    }

    bool begins_with_solid() const {
        const std::string head =
            file_.read(0, static_cast<std::size_t>(std::min<std::uint64_t>(file_.size(), 1024)));
        const std::string mark = "\xEF\xBB\xBF"; // of byte order
        const std::size_t start =
            head.find_first_not_of(" \t\r\n", head.rfind(mark, 0) == 0 ? mark.size() : 0);
        return start != std::string::npos && lower_case(head.substr(start, 5)) == "solid";
    }

    void check_length() const {
        if (file_.size() < stl_header_size) {
            file_.fail("is no STL file: it is too short for the header of a binary one");
        }
        if (file_.size() < stl_header_size + std::uint64_t{promised()} * stl_record_size) {
            file_.fail("promises " + std::to_string(promised()) + " triangles, but holds only " +
                       std::to_string((file_.size() - stl_header_size) / stl_record_size));
        }
    }

    /// Calls `use` with the first number, the count and the bytes of binary records.
    template <class Use>
    void for_blocks(const Use& use) const {
        const std::uint64_t count = promised();
        for (std::uint64_t first = 0; first < count; first += block_facets) {
            const std::uint64_t now = std::min<std::uint64_t>(block_facets, count - first);
            use(first, now,
                file_.read(stl_header_size + first * stl_record_size,
                           static_cast<std::size_t>(now * stl_record_size)));
        }
    }

    template <class Use>
    void for_facets(const Use& use) const {
        if (is_text_) {
            StlText walk(text_);
            for (auto item = walk.next(); item != StlText::Item::end; item = walk.next()) {
                if (item == StlText::Item::facet) {
                    use(walk.facet());
                }
            }
            return;
        }
        for_blocks([&](std::uint64_t, std::uint64_t count, const std::string& bytes) {
            for (std::uint64_t i = 0; i < count; ++i) {
                const char* record = bytes.data() + i * stl_record_size;
                use({stl_point(record, 0), stl_point(record, 1), stl_point(record, 2)});
            }
        });
    }

    void add(PointWeld& weld, const StlFacet& facet) {
        std::vector<std::int32_t>& corners = corners_;
        corners.clear();
        for (const StlPoint& corner : facet) {
            if (!is_finite(corner)) {
                file_.fail("triangle " + std::to_string(decoded_.face_count) +
                           " has a coordinate that is not finite, which cannot be welded");
            }
            corners.push_back(static_cast<std::int32_t>(weld(corner)));
        }
        if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) {
            collapsed_[decoded_.face_count] = corners;
            corners.clear();
        }
        decoded_.add_face(corners);
    }

    /// Per face record whether it goes.
    std::vector<bool> faces_that_go(const Splice& splice) const {
        std::vector<bool> go(decoded_.face_count);
        for (const std::uint64_t face : splice.faces_gone) {
            go[face] = true;
        }
        const Renumbering gone(vertex_count(), splice.vertices_gone);
        for (std::size_t i = 0; i < decoded_.corners.size() && !gone.none_gone(); ++i) {
            if (gone.is_gone(static_cast<std::uint32_t>(decoded_.corners[i]))) {
                go[decoded_.all_triangles ? i / 3 : decoded_.records[i / 3]] = true;
            }
        }
        for (const auto& [face, corners] : collapsed_) {
            for (const std::int32_t corner : corners) {
                go[face] = go[face] || gone.is_gone(static_cast<std::uint32_t>(corner));
            }
        }
        return go;
    }

    StlFacet new_facet(const Splice& splice, std::size_t k) const {
        StlFacet facet{};
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint64_t vertex = splice.faces[k][c];
            const float* p = vertex < vertex_count()
                                 ? &decoded_.positions[3 * vertex]
                                 : &splice.positions[3 * (vertex - vertex_count())];
            facet[c] = {p[0], p[1], p[2]};
        }
        return facet;
    }

    void splice_into(OutputFile& out, const Splice& splice) const override {
        is_text_ ? splice_text(out, splice) : splice_binary(out, splice);
    }

    void splice_binary(OutputFile& out, const Splice& splice) const {
        const std::vector<bool> go = faces_that_go(splice);
        const auto gone = static_cast<std::uint64_t>(std::count(go.begin(), go.end(), true));
        const std::uint64_t count = face_count() - gone + splice.faces.size();
        if (count > std::numeric_limits<std::uint32_t>::max()) {
            file_.fail("would have more triangles than STL can count");
        }
        std::string header = file_.read(0, stl_header_size);
        store(static_cast<std::uint32_t>(count), stl_swap(), header.data() + 80);
        out.write(header);
        for_blocks([&](std::uint64_t first, std::uint64_t n, const std::string& bytes) {
            for (std::uint64_t i = 0; i < n; ++i) {
                if (!go[first + i]) {
                    out.write(bytes.data() + i * stl_record_size, stl_record_size);
                }
            }
        });
        for (std::size_t k = 0; k < splice.faces.size(); ++k) {
            std::uint16_t attribute = 0;
            if (!splice.face_origin.empty()) {
                const std::uint64_t record =
                    stl_header_size + splice.face_origin[k] * stl_record_size;
                attribute = load<std::uint16_t>(file_.read(record + 48, 2).data(), stl_swap());
            }
            out.write(stl_record(new_facet(splice, k), attribute));
        }
        const std::uint64_t end = stl_header_size + face_count() * stl_record_size;
        out.write(file_.read(end, static_cast<std::size_t>(file_.size() - end)));
    }

    /// New facets stand at the end of the solid that their origin is in.
    void splice_text(OutputFile& out, const Splice& splice) const {
        const std::vector<bool> go = faces_that_go(splice);
        std::vector<bool> written(splice.faces.size());
        std::uint64_t solid_begin = 0;
        std::uint64_t face = 0;
        StlText walk(text_);
        for (auto item = walk.next(); item != StlText::Item::end; item = walk.next()) {
            if (item == StlText::Item::facet) {
                if (!go[face++]) {
                    out.write(walk.raw());
                }
                continue;
            }
            if (item == StlText::Item::end_solid) {
                for (std::size_t k = 0; k < written.size(); ++k) {
                    const std::uint64_t origin =
                        splice.face_origin.empty() ? face_count() - 1 : splice.face_origin[k];
                    if (!written[k] && origin >= solid_begin && origin < face) {
                        out.write(stl_facet_text(new_facet(splice, k)));
                        written[k] = true;
                    }
                }
                solid_begin = face;
            }
            out.write(walk.raw());
        }
        out.write(walk.raw()); // what follows the last solid
    }

    std::vector<std::string> beyond_arrays() const override {
        if (is_text_) {
            return {};
        }
        return {"the header and the attribute bytes of facets"};
    }
    const std::filesystem::path& path() const override { return file_.path(); }

    FileReader file_;
    SourceFile text_; // the whole file, if it is text
    bool is_text_ = false;
    std::vector<std::int32_t> corners_;                            // of the facet being added
    std::map<std::uint64_t, std::vector<std::int32_t>> collapsed_; // by face record
};

} // namespace

std::unique_ptr<OpenScan> open_stl(const std::filesystem::path& file) {
    return std::make_unique<StlScan>(file);
}

} // namespace KVN::toolkit
