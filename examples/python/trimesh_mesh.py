"""Repairs a trimesh mesh and keeps its colours."""

import sys
import tempfile

import kelvane

try:
    import trimesh
except ImportError:
    sys.exit(print("skipped: trimesh is not installed"))

with tempfile.TemporaryDirectory() as folder:
    demo = kelvane.demo(folder, bodies=True)
    mesh = trimesh.load(demo.scan, process=False)  # keeps the vertices' order
    markers = kelvane.read_markers(demo.markers)

vertices, faces, attributes, report = kelvane.repair_arrays(
    mesh.vertices,
    mesh.faces,
    markers,
    attributes={"colours": mesh.visual.vertex_colors},
)
clean = trimesh.Trimesh(vertices, faces, vertex_colors=attributes["colours"], process=False)
print(report)
print(clean)
