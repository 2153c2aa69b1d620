#include "kelvane/toolkit/scan/formats/pcl_bridge.hpp"

#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/scan/formats/mesh_formats.hpp"

#include <pcl/PolygonMesh.h>
#include <pcl/console/print.h>
#include <pcl/conversions.h>
#include <pcl/io/obj_io.h>
#include <pcl/io/ply_io.h>
#include <pcl/io/vtk_lib_io.h>
#include <pcl/point_types.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <vector>

namespace KVN::toolkit {

namespace {

/// Keeps PCL and the STL reader behind it off the console.
class Silence {
  public:
    Silence()
        : level_(pcl::console::getVerbosityLevel()),
          warnings_(vtkObject::GetGlobalWarningDisplay()) {
        pcl::console::setVerbosityLevel(pcl::console::L_ALWAYS);
        vtkObject::SetGlobalWarningDisplay(0);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        pcl::console::setVerbosityLevel(level_);
        vtkObject::SetGlobalWarningDisplay(warnings_);
    }

  private:
    pcl::console::VERBOSITY_LEVEL level_;
    int warnings_;
};

template <class T>
T value_at(const std::uint8_t* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// A coordinate of whatever type the file has; a float keeps its bits.
float coordinate(const std::uint8_t* bytes, std::uint8_t type) {
    using Field = pcl::PCLPointField;
    switch (type) {
    case Field::FLOAT32:
        return value_at<float>(bytes);
    case Field::FLOAT64:
        return static_cast<float>(value_at<double>(bytes));
    case Field::INT8:
        return value_at<std::int8_t>(bytes);
    case Field::UINT8:
        return value_at<std::uint8_t>(bytes);
    case Field::INT16:
        return value_at<std::int16_t>(bytes);
    case Field::UINT16:
        return value_at<std::uint16_t>(bytes);
    case Field::INT32:
        return static_cast<float>(value_at<std::int32_t>(bytes));
    default:
        return static_cast<float>(value_at<std::uint32_t>(bytes));
    }
}

std::vector<float> positions_of(const pcl::PCLPointCloud2& cloud, const std::string& name) {
    const pcl::PCLPointField* axes[3] = {nullptr, nullptr, nullptr};
    for (const pcl::PCLPointField& field : cloud.fields) {
        for (int axis = 0; axis < 3; ++axis) {
            if (field.name == std::string(1, "xyz"[axis])) {
                axes[axis] = &field;
            }
        }
    }
    if (axes[0] == nullptr || axes[1] == nullptr || axes[2] == nullptr) {
        throw InputError(name + ": has no vertices");
    }
    const std::size_t count = std::size_t{cloud.width} * cloud.height;
    std::vector<float> positions;
    positions.reserve(3 * count);
    for (std::size_t v = 0; v < count; ++v) {
        const std::uint8_t* record = cloud.data.data() + v * cloud.point_step;
        for (const pcl::PCLPointField* axis : axes) {
            positions.push_back(coordinate(record + axis->offset, axis->datatype));
        }
    }
    return positions;
}

PclScan convert(const pcl::PolygonMesh& mesh, const std::string& name) {
    PclScan result;
    result.scan.positions = positions_of(mesh.cloud, name);
    result.scan.triangles.reserve(3 * mesh.polygons.size());
    const std::size_t vertex_count = result.scan.vertex_count();
    std::vector<std::int32_t> corners;
    for (const pcl::Vertices& polygon : mesh.polygons) {
        corners.clear();
        for (const auto vertex : polygon.vertices) {
            const auto index = static_cast<std::int64_t>(vertex);
            if (index < 0 || static_cast<std::uint64_t>(index) >= vertex_count) {
                throw InputError(name + ": face " + std::to_string(result.polygons) + " " +
                                 no_such_vertex(index, vertex_count));
            }
            corners.push_back(static_cast<std::int32_t>(index));
        }
        add_polygon(result.scan, corners);
        result.corners += corners.size();
        ++result.polygons;
    }
    return result;
}

pcl::PolygonMesh to_pcl(const Scan& scan) {
    pcl::PointCloud<pcl::PointXYZ> cloud;
    cloud.reserve(scan.vertex_count());
    for (std::size_t i = 0; i + 2 < scan.positions.size(); i += 3) {
        cloud.emplace_back(scan.positions[i], scan.positions[i + 1], scan.positions[i + 2]);
    }
    pcl::PolygonMesh mesh;
    pcl::toPCLPointCloud2(cloud, mesh.cloud);
    mesh.polygons.resize(scan.face_count());
    for (std::size_t f = 0; f < scan.face_count(); ++f) {
        const std::int32_t* corners = scan.triangles.data() + 3 * f;
        mesh.polygons[f].vertices.assign(corners, corners + 3);
    }
    return mesh;
}

/// Whether `file` holds all that PCL meant to write.
bool is_complete(PclFormat format, const std::filesystem::path& file, const Scan& scan) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file, error);
    if (error) {
        return false;
    }
    if (format == PclFormat::stl) {
        return size == 84 + 50 * std::uint64_t{scan.face_count()};
    }
    constexpr std::size_t window = 1024; // more than the header of our PLY files
    std::ifstream in(file, std::ios::binary);
    std::string text(window, '\0');
    if (format == PclFormat::obj && size > window) {
        in.seekg(-static_cast<std::streamoff>(window), std::ios::end);
    }
    in.read(text.data(), window);
    text.resize(static_cast<std::size_t>(in.gcount()));
    if (format == PclFormat::obj) {
        return text.find("# End of File") != std::string::npos; // the writer's last line
    }
    const std::string mark = "end_header\n";
    const std::size_t header = text.find(mark);
    return header != std::string::npos && size == header + mark.size() +
                                                      12 * std::uint64_t{scan.vertex_count()} +
                                                      13 * std::uint64_t{scan.face_count()};
}

} // namespace

PclScan pcl_read(PclFormat format, const std::filesystem::path& file) {
    const Silence silence;
    const std::string name = file.string();
    pcl::PolygonMesh mesh;
    int result = 0;
    switch (format) {
    case PclFormat::ply:
        result = pcl::io::loadPLYFile(name, mesh);
        break;
    case PclFormat::obj:
        result = pcl::io::loadOBJFile(name, mesh);
        break;
    case PclFormat::stl:
        result = pcl::io::loadPolygonFileSTL(name, mesh);
        break;
    }
    if (result < 0) {
        throw InputError(name + ": is damaged or of a kind that cannot be read");
    }
    return convert(mesh, name);
}

bool pcl_write(PclFormat format, const std::filesystem::path& file, const Scan& scan) {
    constexpr unsigned float_digits = 9; // bring every float back as it was
    const Silence silence;
    const pcl::PolygonMesh mesh = to_pcl(scan);
    bool written = false;
    switch (format) {
    case PclFormat::ply:
        written = pcl::io::savePLYFileBinary(file.string(), mesh) == 0;
        break;
    case PclFormat::obj:
        written = pcl::io::saveOBJFile(file.string(), mesh, float_digits) == 0;
        break;
    case PclFormat::stl:
        written = pcl::io::savePolygonFileSTL(file.string(), mesh, true);
        break;
    }
    return written && is_complete(format, file, scan);
}

} // namespace KVN::toolkit
