#include "kelvane/toolkit/page/place_drawing.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

namespace KVN::toolkit {

namespace {

// 25 views of so many faces stay below a megabyte with the page around them: a face takes 6 bytes
// and a share of a point, 8 to 9 bytes, times 4/3 for base 64.
constexpr std::size_t most_faces = 2400;
constexpr double first_cell = 0.01;     // of the extent: finer than any place that is too large
constexpr double cell_growth = 1.25;    // few rounds more than needed, little coarser than needed
constexpr double bend_step = 0.25;      // degrees that one unit of a byte stands for
constexpr double least_farthest = 0.01; // of the radius: below that a distance is noise

constexpr std::uint32_t not_drawn = std::numeric_limits<std::uint32_t>::max();

std::uint8_t byte_of(double value, double unit) {
    return static_cast<std::uint8_t>(std::lround(std::min(value / unit, 255.0)));
}

double extent_of(const FaceList& list, const std::vector<PartFace>& faces,
                 const std::array<double, 3>& middle) {
    double extent = std::numeric_limits<float>::min();
    for (const PartFace& face : faces) {
        for (const std::uint32_t corner : face.corners) {
            for (std::size_t k = 0; k < 3; ++k) {
                extent = std::max(extent, std::fabs(list.points[corner][k] - middle[k]));
            }
        }
    }
    return extent;
}

/// Per point the first of its part and of the crop in its cell of the grid.
std::vector<std::uint32_t> leaders(const FaceList& list, const ViewCrop& crop, double cell) {
    std::map<std::tuple<Part, long, long, long>, std::uint32_t> first;
    std::vector<std::uint32_t> leader;
    for (std::uint32_t i = 0; i < list.points.size(); ++i) {
        const auto& p = list.points[i];
        if (!crop.holds(p)) {
            leader.push_back(i);
            continue;
        }
        const auto place = [&](std::size_t k) { return std::lround(p[k] / cell); };
        const auto entry =
            first.emplace(std::tuple(list.parts[i], place(0), place(1), place(2)), i);
        leader.push_back(entry.first->second);
    }
    return leader;
}

/// A place as it is drawn: some faces, their corners moved to the points that stand for them.
class PlaceDrawing {
  public:
    PlaceDrawing(const MeasuredPlace& place, const ViewCrop& crop) : place_(place), crop_(crop) {
        const FaceList& list = place.list;
        for (const PartFace& face : list.faces) {
            if (std::all_of(face.corners.begin(), face.corners.end(),
                            [&](std::uint32_t c) { return crop.holds(list.points[c]); })) {
                faces_.push_back(face);
            }
        }
        extent_ = extent_of(list, faces_, crop.middle());
        for (std::uint32_t i = 0; i < list.points.size(); ++i) {
            leader_.push_back(i);
        }
        coarsen();
        number();
    }

    MarkerView view(double radius) const {
        MarkerView view;
        for (std::size_t k = 0; k < 3; ++k) {
            view.origin[k] = static_cast<float>(crop_.middle()[k]);
            view.normal[k] = static_cast<float>(crop_.axis()[k]);
        }
        view.radius = static_cast<float>(radius);
        // The origin is rounded to float: one step stays free for that.
        view.step = static_cast<float>(extent_ / (std::numeric_limits<std::int16_t>::max() - 1));
        add_points(view);
        add_faces(view);
        add_lines(view);
        add_bytes(view, radius);
        return view;
    }

  private:
    void coarsen() {
        const std::vector<PartFace> all = faces_;
        for (double cell = first_cell * extent_; faces_.size() > most_faces; cell *= cell_growth) {
            leader_ = leaders(place_.list, crop_, cell);
            faces_.clear();
            for (PartFace face : all) {
                for (std::uint32_t& corner : face.corners) {
                    corner = leader_[corner];
                }
                const auto& c = face.corners;
                if (c[0] != c[1] && c[1] != c[2] && c[2] != c[0]) {
                    faces_.push_back(face);
                }
            }
        }
    }

    /// Numbers the points in use, part by part.
    void number() {
        number_.assign(place_.list.points.size(), not_drawn);
        for (const PartFace& face : faces_) {
            for (const std::uint32_t corner : face.corners) {
                number_[corner] = 0;
            }
        }
        for (const Part part : {Part::shared, Part::gone, Part::added}) {
            for (std::uint32_t i = 0; i < number_.size(); ++i) {
                if (number_[i] != not_drawn && place_.list.parts[i] == part) {
                    number_[i] = static_cast<std::uint32_t>(points_.size());
                    points_.push_back(i);
                }
            }
        }
    }

    void add_points(MarkerView& view) const {
        for (const std::uint32_t point : points_) {
            view.shared_points += place_.list.parts[point] == Part::shared ? 1 : 0;
            view.gone_points += place_.list.parts[point] == Part::gone ? 1 : 0;
            view.positions.emplace_back();
            for (std::size_t k = 0; k < 3; ++k) {
                const double from_origin =
                    static_cast<double>(place_.list.points[point][k]) - view.origin[k];
                view.positions.back()[k] =
                    static_cast<std::int16_t>(std::lround(from_origin / view.step));
            }
        }
    }

    void add_faces(MarkerView& view) const {
        for (const PartFace& face : faces_) {
            MarkerView::Corners corners;
            for (std::size_t k = 0; k < 3; ++k) {
                corners[k] = static_cast<std::uint16_t>(number_[face.corners[k]]);
            }
            switch (face.part) {
            case Part::shared:
                view.shared_faces.push_back(corners);
                break;
            case Part::gone:
                view.gone_faces.push_back(corners);
                break;
            case Part::added:
                view.new_faces.push_back(corners);
                break;
            }
        }
    }

    void add_line(const BentEdge& edge, std::vector<MarkerView::Line>& lines) const {
        const std::uint32_t a = number_[leader_[edge.ends[0]]];
        const std::uint32_t b = number_[leader_[edge.ends[1]]];
        if (a != not_drawn && b != not_drawn && a != b) {
            lines.push_back({static_cast<std::uint16_t>(a), static_cast<std::uint16_t>(b)});
        }
    }

    void add_lines(MarkerView& view) const {
        const FaceList& list = place_.list;
        for (const Side side : {Side::before, Side::after}) {
            for (const BentEdge& edge : place_.edges[static_cast<std::size_t>(side)]) {
                const bool known = list.whole[edge.ends[0]] != 0 || list.whole[edge.ends[1]] != 0;
                if (edge.is_single() && known) {
                    add_line(edge, side == Side::before ? view.rim_before : view.rim_after);
                } else if ((list.faces[edge.first_face].part == Part::added) !=
                           (list.faces[edge.second_face].part == Part::added)) {
                    add_line(edge, view.border);
                }
            }
        }
    }

    void add_bytes(MarkerView& view, double radius) const {
        std::vector<double> distances(points_.size(), 0.0);
        std::array<std::vector<double>, 2> bends = {distances, distances};
        for (std::size_t i = 0; i < number_.size(); ++i) {
            const std::uint32_t n = number_[leader_[i]];
            if (n != not_drawn) {
                distances[n] = std::max(distances[n], place_.distances[i]);
                bends[0][n] = std::max(bends[0][n], place_.bends[0][i]);
                bends[1][n] = std::max(bends[1][n], place_.bends[1][i]);
            }
        }
        double farthest = least_farthest * radius;
        for (const double distance : distances) {
            farthest = std::isfinite(distance) ? std::max(farthest, distance) : farthest;
        }
        view.farthest = static_cast<float>(farthest);
        for (std::size_t n = 0; n < points_.size(); ++n) {
            const Part part = place_.list.parts[points_[n]];
            if (part != Part::shared) {
                view.distances.push_back(byte_of(distances[n], farthest / 255.0));
            }
            if (is_on(part, Side::before)) {
                view.bends_before.push_back(byte_of(bends[0][n], bend_step));
            }
            if (is_on(part, Side::after)) {
                view.bends_after.push_back(byte_of(bends[1][n], bend_step));
            }
        }
    }

    const MeasuredPlace& place_;
    const ViewCrop& crop_;
    double extent_;
    std::vector<PartFace> faces_;
    std::vector<std::uint32_t> leader_; ///< per point of the place
    std::vector<std::uint32_t> number_; ///< per point of the place, among those drawn
    std::vector<std::uint32_t> points_; ///< those drawn
};

} // namespace

MarkerView draw_place(const MeasuredPlace& place, const ViewCrop& crop, double radius) {
    return PlaceDrawing(place, crop).view(radius);
}

} // namespace KVN::toolkit
