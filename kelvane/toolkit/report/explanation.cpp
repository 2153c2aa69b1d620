#include "kelvane/toolkit/report/explanation.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/mesh_run.hpp"
#include "kelvane/toolkit/job/working_scale.hpp"
#include "kelvane/toolkit/measure/scan_info.hpp"
#include "kelvane/toolkit/report/border_words.hpp"
#include "kelvane/toolkit/scan/scan_mesh.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <algorithm>
#include <map>
#include <sstream>
#include <system_error>

namespace KVN::toolkit {

namespace {

using Colour = std::array<std::uint8_t, 3>;

constexpr Colour grey{150, 150, 150};
constexpr Colour red{220, 50, 47};
constexpr Colour green{40, 160, 60};
constexpr Colour blue{38, 110, 210};

/// Colours for the refusals, told apart by hue: neighbours in the order of the tests differ most.
Colour colour_of(Refusal refusal) {
    if (refusal == Refusal::none) {
        return green;
    }
    constexpr Colour hues[] = {{220, 50, 47},  {203, 75, 170}, {180, 137, 0},
                               {108, 80, 196}, {203, 100, 22}, {42, 140, 180}};
    return hues[static_cast<std::size_t>(refusal) % std::size(hues)];
}

/// Adds records to a drawing, each point once per colour.
class Pen {
  public:
    Pen(Drawing& drawing, Colour colour) : drawing_(drawing), colour_(colour) {}

    std::int32_t point(const _vert* v) {
        const auto [place, is_new] =
            places_.emplace(v, static_cast<std::int32_t>(drawing_.points.size()));
        if (is_new) {
            drawing_.points.push_back({v->pos.x, v->pos.y, v->pos.z});
            drawing_.colours.push_back(colour_);
        }
        return place->second;
    }

    void line(const _vert* a, const _vert* b) { drawing_.edges.push_back({point(a), point(b)}); }

    void face(const _face& f) {
        drawing_.faces.push_back({point(f.verts[0]), point(f.verts[1]), point(f.verts[2])});
    }

  private:
    Drawing& drawing_;
    Colour colour_;
    std::map<const _vert*, std::int32_t> places_;
};

void tell_cut(const RegionNote& region, Explanation& explanation, std::ostream& text) {
    Drawing cut{"cut", {}, {}, {}, {}};
    Pen faces(cut, red);
    for (const _face* face : region.faces) {
        faces.face(*face);
    }
    Drawing ring{"ring", {}, {}, {}, {}};
    Pen points(ring, blue);
    for (const _vert* v : region.ring) {
        points.point(v);
    }
    text << "cut: " << cut.faces.size() << " faces taken out, " << ring.points.size()
         << " vertices around them\n";
    explanation.drawings.push_back(std::move(cut));
    explanation.drawings.push_back(std::move(ring));
}

// Walks with the same verdict that follow each other make one line.
void tell_walks(const BorderTrace& trace, Explanation& explanation, std::ostream& text) {
    Drawing drawing{"walks", {}, {}, {}, {}};
    text << "search: " << trace.walks.size() << " tries\n";
    const auto verdict_of = [](const WalkTrace& walk) {
        return (walk.as_chain ? " as a chain: " : " as a loop: ") + sentence(walk.verdict);
    };
    for (auto walk = trace.walks.begin(); walk != trace.walks.end();) {
        const std::string verdict = verdict_of(*walk);
        int fewest = walk->edges;
        int most = walk->edges;
        int count = 0;
        for (; walk != trace.walks.end() && verdict_of(*walk) == verdict; ++walk, ++count) {
            fewest = std::min(fewest, walk->edges);
            most = std::max(most, walk->edges);
            Pen pen(drawing, colour_of(walk->verdict.refusal));
            for (std::size_t i = 0; i + 1 < walk->vertices.size(); ++i) {
                pen.line(walk->vertices[i], walk->vertices[i + 1]);
            }
        }
        text << "  " << count << " of " << fewest;
        text << (most > fewest ? " to " + std::to_string(most) : "") << " edges," << verdict
             << '\n';
    }
    explanation.drawings.push_back(std::move(drawing));
}

void tell_hole(const Mesh_M::Mesh& mesh, const MeshRun& run, int hole, Explanation& explanation,
               std::ostream& text) {
    const HoleNote& note = run.notes().holes[static_cast<std::size_t>(hole)];
    const std::vector<_vert*>& border = run.borders()[static_cast<std::size_t>(hole)];
    Drawing outline{"border", {}, {}, {}, {}};
    Pen pen(outline, note.is_chain ? blue : green);
    for (std::size_t i = 0; i < border.size(); ++i) {
        if (i + 1 < border.size() || !note.is_chain) {
            pen.line(border[i], border[(i + 1) % border.size()]);
        }
    }
    Drawing patch{"patch", {}, {}, {}, {}};
    Pen fill(patch, grey);
    for (int i = 0; i < note.new_faces; ++i) {
        fill.face(mesh.faces.at(note.first_face + i));
    }
    text << "border: " << (note.is_chain ? "an open chain" : "a loop") << " of " << border.size()
         << " vertices\n"
         << "patch: " << note.new_vertices << " new vertices, " << note.new_faces << " new faces"
         << (note.refused ? "; it did not fit the hole and was not taken" : "") << '\n';
    explanation.drawings.push_back(std::move(outline));
    explanation.drawings.push_back(std::move(patch));
}

std::string ply_of(const Drawing& drawing) {
    std::ostringstream out;
    out.precision(9);
    out << "ply\nformat ascii 1.0\nelement vertex " << drawing.points.size()
        << "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\n"
           "property uchar green\nproperty uchar blue\nelement face "
        << drawing.faces.size() << "\nproperty list uchar int vertex_indices\nelement edge "
        << drawing.edges.size() << "\nproperty int vertex1\nproperty int vertex2\nend_header\n";
    for (std::size_t i = 0; i < drawing.points.size(); ++i) {
        const auto& p = drawing.points[i];
        const Colour& c = drawing.colours[i];
        out << p[0] << ' ' << p[1] << ' ' << p[2] << ' ' << int(c[0]) << ' ' << int(c[1]) << ' '
            << int(c[2]) << '\n';
    }
    for (const auto& f : drawing.faces) {
        out << "3 " << f[0] << ' ' << f[1] << ' ' << f[2] << '\n';
    }
    for (const auto& e : drawing.edges) {
        out << e[0] << ' ' << e[1] << '\n';
    }
    return out.str();
}

} // namespace

Explanation explain_marker(const Scan& scan, const std::vector<Marker>& markers, std::size_t index,
                           const RepairOptions& options) {
    if (index >= markers.size()) {
        throw InputError("there are " + std::to_string(markers.size()) +
                         " markers, and no marker " + std::to_string(index + 1));
    }
    check_repair_arguments(markers, options);
    Mesh_M::Mesh mesh;
    build_from(scan, mesh);
    const double margin = options.marker_size.value_or(2.0 * mean_edge_length(mesh));
    const double scale = working_scale(markers);
    ScaledMesh working(mesh, scale);
    const RepairOptions working_options = scaled(options, scale);
    MeshRun run(mesh, scaled(markers, scale), margin * scale, working_options);
    run.keep_walks();
    run.cut();
    run.close(1, {});
    working.restore();

    Explanation explanation;
    std::ostringstream text;
    const MarkerReport report = run.reports()[index];
    const Marker& marker = markers[index];
    text << "marker " << index + 1 << " at " << marker.x << ' ' << marker.y << ' ' << marker.z
         << ", radius " << marker.radius << ", cut " << run.marker_size() / scale
         << " beyond it, method " << to_string(options.method)
         << "\noutcome: " << describe(report.outcome) << '\n';
    if (index < run.notes().regions.size()) {
        const RegionNote& region = run.notes().regions[index];
        tell_cut(region, explanation, text);
        tell_walks(region.trace, explanation, text);
        const int hole = region.hole >= 0 ? region.hole : region.joined_hole;
        if (hole >= 0) {
            text << (region.hole < 0 ? "the cut has run together with that of another marker\n"
                                     : "");
            tell_hole(mesh, run, hole, explanation, text);
        }
        if (report.rim) {
            text << phrase(*report.rim) << '\n';
        }
    }
    explanation.text = text.str();
    return explanation;
}

void write_explanation(const std::filesystem::path& folder, const Explanation& explanation) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw SystemError(folder.string() + ": cannot be made: " + error.message());
    }
    for (const Drawing& drawing : explanation.drawings) {
        write_text(folder / (drawing.name + ".ply"), ply_of(drawing));
    }
    write_text(folder / "explanation.txt", explanation.text);
}

} // namespace KVN::toolkit
