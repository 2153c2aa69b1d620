"""Repairs an Open3D mesh and keeps its normals and colours."""

import sys
import tempfile

import numpy as np

import kelvane

try:
    import open3d
except ImportError:
    sys.exit(print("skipped: Open3D is not installed"))

with tempfile.TemporaryDirectory() as folder:
    demo = kelvane.demo(folder, bodies=True)
    mesh = open3d.io.read_triangle_mesh(str(demo.scan))
    markers = kelvane.read_markers(demo.markers)

mesh.compute_vertex_normals()
vertices, faces, attributes, report = kelvane.repair_arrays(
    np.asarray(mesh.vertices),
    np.asarray(mesh.triangles),
    markers,
    attributes={
        "normals": np.asarray(mesh.vertex_normals),
        "colours": np.asarray(mesh.vertex_colors),
    },
)
clean = open3d.geometry.TriangleMesh(
    open3d.utility.Vector3dVector(vertices), open3d.utility.Vector3iVector(faces)
)
clean.vertex_normals = open3d.utility.Vector3dVector(attributes["normals"])
clean.vertex_colors = open3d.utility.Vector3dVector(attributes["colours"])
print(report)
print(clean)
