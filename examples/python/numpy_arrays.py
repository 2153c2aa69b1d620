"""Repairs a scan held in numpy arrays, with a quality per vertex, and tells of every marker."""

import numpy as np

import kelvane

# A gently curved sheet of 60 x 60 mm with a point every millimetre, and a sticker raised by 0.2 mm.
side = 61
x, y = np.meshgrid(np.arange(side, dtype=float), np.arange(side, dtype=float))
sheet = 2.0 * np.sin(x / 20.0) * np.cos(y / 25.0)
centre = np.array([30.0, 30.0, sheet[30, 30]])
sticker = np.hypot(x - centre[0], y - centre[1]) < 4.0
vertices = np.stack([x, y, sheet + 0.2 * sticker], axis=2).reshape(-1, 3)

a = (np.arange(side - 1)[:, None] * side + np.arange(side - 1)).ravel()
faces = np.stack([a, a + 1, a + side + 1, a, a + side + 1, a + side], axis=1).reshape(-1, 3)

vertices, faces, attributes, report = kelvane.repair_arrays(
    vertices,
    faces,
    [kelvane.Marker(*centre, nx=0.0, ny=0.0, nz=1.0, radius=4.0)],
    attributes={"quality": np.ones(side * side, dtype=np.float32)},
)
print(report)
x, y, z = vertices.T
off = np.abs(z - 2.0 * np.sin(x / 20.0) * np.cos(y / 25.0)).max()
print(f"{len(vertices)} vertices, {len(faces)} faces, at most {off:.4f} mm off the sheet")
