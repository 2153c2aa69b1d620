"""Repairs a mesh that meshio has read, with all its point data."""

import sys
import tempfile

import kelvane

try:
    import meshio
except ImportError:
    sys.exit(print("skipped: meshio is not installed"))

with tempfile.TemporaryDirectory() as folder:
    demo = kelvane.demo(folder, bodies=True)
    mesh = meshio.read(demo.scan)
    markers = kelvane.read_markers(demo.markers)

vertices, faces, attributes, report = kelvane.repair_arrays(
    mesh.points, mesh.cells_dict["triangle"], markers, attributes=mesh.point_data
)
clean = meshio.Mesh(vertices, {"triangle": faces}, point_data=attributes)
print(report)
print(clean)
