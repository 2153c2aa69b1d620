#include "kelvane/toolkit/scan/formats/stl_binary.hpp"

#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"
#include "kelvane/toolkit/scan/formats/point_weld.hpp"
#include "kelvane/toolkit/scan/formats/stl_facet.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace KVN::toolkit {

namespace {

constexpr std::uint64_t block_facets = 4096; // 200 kB, which stay in the second-level cache

bool has_triangle(const StlFacet& facet) {
    return facet[0] != facet[1] && facet[1] != facet[2] && facet[2] != facet[0];
}

class BinaryStlScan final : public OpenScan {
  public:
    explicit BinaryStlScan(std::unique_ptr<FileReader> file) : file_(std::move(file)) {
        if (file_->size() < stl_header_size) {
            file_->fail("is no STL file: it is too short for the header of a binary one");
        }
        count_ = stl_count(*file_);
        const std::uint64_t held = (file_->size() - stl_header_size) / stl_record_size;
        if (count_ > held) {
            file_->fail("promises " + std::to_string(count_) + " triangles, but holds only " +
                        std::to_string(held));
        }
        if (3 * count_ > max_vertices) {
            file_->fail("has more corners than can be told apart by 32-bit indices");
        }
        for_facets(0, count_, [&](std::uint64_t i, const StlFacet& facet) {
            if (!std::all_of(facet.begin(), facet.end(), is_finite)) {
                file_->fail("triangle " + std::to_string(i) +
                            " has a coordinate that is not finite, which cannot be welded");
            }
            short_faces_ += has_triangle(facet) ? 0 : 1;
        });
        if (short_faces_ == count_) {
            file_->fail("has no faces");
        }
    }

    std::uint64_t vertex_count() const override { return 3 * count_; }
    std::uint64_t face_count() const override { return count_; }
    std::uint64_t short_faces() const override { return short_faces_; }
    bool all_triangles() const override { return short_faces_ == 0; }
    bool loose_corners() const override { return true; }

    void positions_into(std::uint64_t first, std::uint64_t count, float* positions) const override {
        const std::uint64_t facet = first / 3;
        for_facets(facet, (first + count + 2) / 3 - facet,
                   [&](std::uint64_t i, const StlFacet& corners) {
                       for (std::uint64_t c = 0; c < 3; ++c) {
                           const std::uint64_t vertex = 3 * i + c;
                           if (vertex >= first && vertex < first + count) {
                               std::copy(corners[c].begin(), corners[c].end(),
                                         positions + 3 * (vertex - first));
                           }
                       }
                   });
    }

    void corners_into(std::uint64_t first, std::uint64_t count, std::vector<std::int32_t>& corners,
                      std::vector<std::uint64_t>& records) const override {
        corners.clear();
        records.clear();
        const auto add = [&](std::uint64_t i) {
            const auto corner = static_cast<std::int32_t>(3 * i);
            corners.insert(corners.end(), {corner, corner + 1, corner + 2});
        };
        if (all_triangles()) {
            for (std::uint64_t i = first; i < first + count; ++i) {
                add(i);
            }
            return;
        }
        for_facets(first, count, [&](std::uint64_t i, const StlFacet& facet) {
            if (has_triangle(facet)) {
                add(i);
                records.push_back(i);
            }
        });
    }

    Scan to_scan() const override {
        Scan scan;
        PointWeld weld(scan.positions);
        for_facets(0, count_, [&](std::uint64_t, const StlFacet& facet) {
            std::int32_t corners[3];
            for (std::size_t c = 0; c < 3; ++c) {
                corners[c] = static_cast<std::int32_t>(weld(facet[c]));
            }
            if (has_triangle(facet)) {
                scan.triangles.insert(scan.triangles.end(), corners, corners + 3);
            }
        });
        scan.short_faces = static_cast<std::int64_t>(short_faces_);
        return scan;
    }

  private:
    /// Calls `use` with the first number and the bytes of records, block by block.
    template <class Use>
    void for_blocks(std::uint64_t first, std::uint64_t count, const Use& use) const {
        std::string bytes;
        for (std::uint64_t done = 0; done < count; done += block_facets) {
            const std::uint64_t now = std::min(block_facets, count - done);
            bytes.resize(static_cast<std::size_t>(now * stl_record_size));
            file_->read(stl_header_size + (first + done) * stl_record_size, bytes.size(),
                        bytes.data());
            use(first + done, bytes);
        }
    }

    template <class Use>
    void for_facets(std::uint64_t first, std::uint64_t count, const Use& use) const {
        for_blocks(first, count, [&](std::uint64_t number, std::string_view bytes) {
            for (std::size_t at = 0; at < bytes.size(); at += stl_record_size) {
                const char* record = bytes.data() + at;
                use(number++,
                    StlFacet{stl_point(record, 0), stl_point(record, 1), stl_point(record, 2)});
            }
        });
    }

    StlPoint corner(std::uint64_t vertex) const {
        const std::uint64_t record = stl_header_size + vertex / 3 * stl_record_size;
        return stl_point(file_->read(record, stl_record_size).data(), static_cast<int>(vertex % 3));
    }

    /// The listed facets, and those that have a corner where a vertex is gone; ascending.
    std::vector<std::uint64_t> facets_that_go(const Splice& splice) const {
        if (splice.vertices_gone.empty()) {
            return splice.faces_gone;
        }
        std::vector<float> positions;
        PointWeld gone(positions);
        for (const std::uint32_t vertex : splice.vertices_gone) {
            gone(corner(vertex));
        }
        std::vector<std::uint64_t> all = splice.faces_gone;
        for_facets(0, count_, [&](std::uint64_t i, const StlFacet& facet) {
            if (std::any_of(facet.begin(), facet.end(), [&](const StlPoint& point) {
                    return gone.find(point) != PointWeld::none;
                })) {
                all.push_back(i);
            }
        });
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

    void splice_into(OutputFile& out, const Splice& splice) const override {
        const std::vector<std::uint64_t> gone = facets_that_go(splice);
        const std::uint64_t count = count_ - gone.size() + splice.faces.size();
        if (count > std::numeric_limits<std::uint32_t>::max()) {
            file_->fail("would have more triangles than STL can count");
        }
        std::string header = file_->read(0, stl_header_size);
        store(static_cast<std::uint32_t>(count), stl_swap(), header.data() + 80);
        out.write(header);
        std::uint64_t kept = 0; // the first that is not dealt with yet
        for (const std::uint64_t facet : gone) {
            copy(kept, facet - kept, out);
            kept = facet + 1;
        }
        copy(kept, count_ - kept, out);
        for (std::size_t k = 0; k < splice.faces.size(); ++k) {
            out.write(new_record(splice, k));
        }
        const std::uint64_t end = stl_header_size + count_ * stl_record_size;
        out.write(file_->read(end, static_cast<std::size_t>(file_->size() - end)));
    }

    void copy(std::uint64_t first, std::uint64_t count, OutputFile& out) const {
        for_blocks(first, count, [&](std::uint64_t, std::string_view bytes) { out.write(bytes); });
    }

    std::string new_record(const Splice& splice, std::size_t k) const {
        StlFacet facet{};
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint64_t vertex = splice.faces[k][c];
            if (vertex < vertex_count()) {
                facet[c] = corner(vertex);
            } else {
                std::copy_n(&splice.positions[3 * (vertex - vertex_count())], 3, facet[c].begin());
            }
        }
        std::uint16_t attribute = 0;
        if (!splice.face_origin.empty()) {
            const std::uint64_t record = stl_header_size + splice.face_origin[k] * stl_record_size;
            attribute = load<std::uint16_t>(file_->read(record + 48, 2).data(), stl_swap());
        }
        return stl_record(facet, attribute);
    }

    void renumber_for_arrays(const Scan& arrays, Splice& splice) const override {
        std::vector<float> positions = arrays.positions;
        const PointWeld places(positions);
        const auto renumber = [&](std::uint32_t& vertex) {
            vertex =
                vertex < vertex_count()
                    ? places.find(corner(vertex))
                    : static_cast<std::uint32_t>(vertex - vertex_count() + arrays.vertex_count());
        };
        std::for_each(splice.vertices_gone.begin(), splice.vertices_gone.end(), renumber);
        std::sort(splice.vertices_gone.begin(), splice.vertices_gone.end());
        std::for_each(splice.origin_vertex.begin(), splice.origin_vertex.end(), renumber);
        for (auto& face : splice.faces) {
            std::for_each(face.begin(), face.end(), renumber);
        }
    }

    std::vector<std::string> beyond_arrays() const override {
        return {"the header, the attribute bytes and the normals of facets"};
    }
    const std::filesystem::path& path() const override { return file_->path(); }

    std::unique_ptr<FileReader> file_;
    std::uint64_t count_ = 0;
    std::uint64_t short_faces_ = 0;
};

} // namespace

std::unique_ptr<OpenScan> open_binary_stl(std::unique_ptr<FileReader> file) {
    return std::make_unique<BinaryStlScan>(std::move(file));
}

} // namespace KVN::toolkit
