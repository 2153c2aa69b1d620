// STL: facets with corners of their own. Text is welded, where they are equal, when it is opened.
#include "kelvane/toolkit/scan/formats/file_reader.hpp"
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/point_weld.hpp"
#include "kelvane/toolkit/scan/formats/stl_binary.hpp"
#include "kelvane/toolkit/scan/formats/stl_facet.hpp"
#include "kelvane/toolkit/scan/formats/stl_text.hpp"
#include "kelvane/toolkit/scan/renumbering.hpp"

#include <algorithm>
#include <map>
#include <utility>

namespace KVN::toolkit {

namespace {

class TextStlScan final : public DecodedScan {
  public:
    explicit TextStlScan(std::unique_ptr<FileReader> file)
        : file_(std::move(file)), text_(file_->load()) {
        PointWeld weld(decoded_.positions);
        StlText walk(text_);
        for (auto item = walk.next(); item != StlText::Item::end; item = walk.next()) {
            if (item == StlText::Item::facet) {
                add(weld, walk.facet());
            }
        }
        if (const char* fault = decoded_.fault()) {
            file_->fail(decoded_.positions.empty() ? "has no faces" : fault);
        }
    }

  private:
    void add(PointWeld& weld, const StlFacet& facet) {
        std::vector<std::int32_t>& corners = corners_;
        corners.clear();
        for (const StlPoint& corner : facet) {
            if (!is_finite(corner)) {
                file_->fail("triangle " + std::to_string(decoded_.face_count) +
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

    /// New facets stand at the end of the solid that their origin is in.
    void splice_into(OutputFile& out, const Splice& splice) const override {
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
        return {"the names of solids and the normals of facets"};
    }
    const std::filesystem::path& path() const override { return file_->path(); }

    std::unique_ptr<FileReader> file_;
    SourceFile text_;
    std::vector<std::int32_t> corners_;                            // of the facet being added
    std::map<std::uint64_t, std::vector<std::int32_t>> collapsed_; // by face record
};

bool begins_with_solid(const FileReader& file) {
    const std::string head =
        file.read(0, static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), 1024)));
    const std::string mark = "\xEF\xBB\xBF"; // of byte order
    const std::size_t start =
        head.find_first_not_of(" \t\r\n", head.rfind(mark, 0) == 0 ? mark.size() : 0);
    return start != std::string::npos && lower_case(head.substr(start, 5)) == "solid";
}

bool has_binary_length(const FileReader& file) {
    return file.size() >= stl_header_size &&
           file.size() == stl_header_size + std::uint64_t{stl_count(file)} * stl_record_size;
}

} // namespace

std::unique_ptr<OpenScan> open_stl(const std::filesystem::path& path) {
    auto file = std::make_unique<FileReader>(path);
    // Binary files may begin with "solid" too, so their exact length is the first thing to ask.
    if (!has_binary_length(*file) && begins_with_solid(*file)) {
        return std::make_unique<TextStlScan>(std::move(file));
    }
    return open_binary_stl(std::move(file));
}

} // namespace KVN::toolkit
