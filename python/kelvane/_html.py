"""A report in a notebook: a table, and a picture of every patch."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING, List, Sequence

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    from ._report import MarkerResult

MOST_PICTURES = 60
"""A picture is 4 to 8 kB: with more of them notebooks grow slow. The rest stand in the table."""

_HALF = 100
"""Half the width of a picture in its own units: whole numbers are then fine enough and short."""


def _axes(normal: npt.NDArray[np.float64]) -> npt.NDArray[np.float64]:
    """Two unit vectors across the normal, as rows."""
    n = normal / np.linalg.norm(normal)
    u = np.cross(n, np.eye(3)[np.argmin(np.abs(n))])
    u /= np.linalg.norm(u)
    return np.stack([u, np.cross(n, u)])


def _path(plane: npt.NDArray[np.int64], edges: npt.NDArray[np.int64], style: str) -> str:
    lines = "".join(
        f"M{x} {y}L{u} {v}" for (x, y), (u, v) in zip(plane[edges[:, 0]], plane[edges[:, 1]])
    )
    return f'<path d="{lines}" fill="none" {style}/>'


def patch_svg(result: MarkerResult) -> str:
    """The patch seen along the marker's normal: its edges, its border bold, the marker's circle."""
    if len(result.patch_faces) == 0:
        return ""
    m = result.marker
    axes = _axes(np.array([m.nx, m.ny, m.nz], dtype=np.float64))
    flat = (result.patch_vertices.astype(np.float64) - [m.x, m.y, m.z]) @ axes.T
    flat[:, 1] *= -1.0  # an SVG's y points down
    scale = 0.95 * _HALF / max(np.abs(flat).max(), m.radius)
    plane = np.rint(scale * flat).astype(np.int64)
    sides = np.concatenate([result.patch_faces[:, [k, (k + 1) % 3]] for k in range(3)])
    circle = f'<circle r="{scale * m.radius:.0f}" fill="none" stroke="#d33" '
    edges, uses = np.unique(np.sort(sides, axis=1), axis=0, return_counts=True)
    return (
        f'<svg viewBox="{-_HALF} {-_HALF} {2 * _HALF} {2 * _HALF}" width="120" height="120" '
        'stroke="currentColor" role="img">'
        f"<title>patch of marker {result.number}</title>"
        + _path(plane, edges[uses > 1], 'stroke-width="0.7" opacity="0.6"')
        + _path(plane, edges[uses == 1], 'stroke-width="2.5"')
        + circle
        + 'stroke-dasharray="4 3"/></svg>'
    )


def report_html(summary: str, results: Sequence[MarkerResult]) -> str:
    """The table with its pictures, unrepaired markers marked by their words in bold."""
    head = "".join(
        f"<th>{name}</th>"
        for name in ("marker", "radius", "outcome", "border", "new vertices", "new faces", "patch")
    )
    rows: List[str] = []
    pictures = 0
    for r in results:
        picture = patch_svg(r) if pictures < MOST_PICTURES else ""
        pictures += picture != ""
        words = escape(r.words) if r.repaired else f"<b>{escape(r.words)}</b>"
        if r.rim is not None:
            words += f"<br>rim {r.rim}: {escape(r.rim_reason or '')}"
        cells = (
            r.number, f"{r.marker.radius:.3g}", words, r.border_vertices, r.new_vertices,
            r.new_faces, picture,
        )  # fmt: skip
        rows.append("<tr>" + "".join(f"<td>{cell}</td>" for cell in cells) + "</tr>")
    more = sum(len(r.patch_faces) > 0 for r in results) - pictures
    note = f"<p>{more} more patches without a picture</p>" if more > 0 else ""
    return (
        f"<p>{escape(summary)}</p><table><thead><tr>{head}</tr></thead>"
        f"<tbody>{''.join(rows)}</tbody></table>{note}"
    )
