"""Repairs of scans that are numpy arrays."""

from __future__ import annotations

from typing import Any, Callable, Dict, Mapping, Optional, Tuple

import numpy as np
import numpy.typing as npt

from . import _kelvane
from ._markers import Markers, marker_rows
from ._report import Report, warned

Array = npt.NDArray[Any]

_CARRIERS: Dict["np.dtype[Any]", "np.dtype[Any]"] = {
    np.dtype(np.bool_): np.dtype(np.uint8),
    np.dtype(np.float16): np.dtype(np.float32),
}
"""Number types that the module does not know, and ones that hold all of theirs."""

_NORMALS = ("normals", "vertex_normals")
_AXES = ("nx", "ny", "nz")
_STACKED = "nx, ny, nz"


def repair_arrays(
    vertices: npt.ArrayLike,
    faces: npt.ArrayLike,
    markers: Markers,
    *,
    attributes: Optional[Mapping[str, npt.ArrayLike]] = None,
    method: str = "fast",
    marker_size: Optional[float] = None,
    size_adjustable: bool = False,
    resolution: Optional[float] = None,
    flat_only: bool = False,
    body_height: Optional[float] = None,
    leave_open: bool = False,
    straight_rims: bool = False,
    whole_mesh: bool = False,
    page_markers: Optional[int] = 25,
    threads: int = 0,
    progress: Optional[Callable[[str, float], Any]] = None,
) -> Tuple[Array, Array, Dict[str, Array], Report]:
    """Removes markers from a scan in memory and closes their places.

    Returns (vertices, faces, attributes, report), of the types that were handed in, in the
    machine's byte order. The arrays handed in stay as they are; no other thread may change them
    meanwhile. Rows that the repair leaves alone keep their bits (doubles too) and their order and
    come first; new ones follow. The work is done in single precision: on scans far from the origin
    new vertices lose what float32 cannot hold.

    vertices: (n, 3) float32 or float64, in any unit of length.
    faces: (m, 3) int32 or int64, indices into vertices, anticlockwise from outside.
    markers: see Markers: a file, an array (k, 7) or a list.
    attributes: names and arrays (n,) or (n, c) of any real number type: colours, quality. On a
        patch they grow from the border of its place, integers rounded. The names "normals" and
        "vertex_normals", or "nx", "ny" and "nz" together, are taken for the vertices' normals, and
        new vertices get theirs, of unit length.

    For the other arguments see repair(). What progress() raises, and Ctrl-C, passes through.
    """
    options = {
        "method": method,
        "marker_size": marker_size,
        "size_adjustable": size_adjustable,
        "resolution": resolution,
        "flat_only": flat_only,
        "body_height": body_height,
        "leave_open": leave_open,
        "straight_rims": straight_rims,
        "whole_mesh": whole_mesh,
        "page_markers": page_markers,
        "threads": threads,
    }
    points = _rows_of_three("vertices", vertices, (np.float32, np.float64))
    corners = _rows_of_three("faces", faces, (np.int32, np.int64))
    given = {name: np.asarray(values) for name, values in (attributes or {}).items()}
    columns = _stacked({name: _carried(name, column, points) for name, column in given.items()})
    new_points, new_corners, new_columns, run = _kelvane.repair_arrays(
        points,
        corners,
        marker_rows(markers),
        list(columns.values()),
        [_is_normals(name, column) for name, column in columns.items()],
        options,
        progress,
    )
    done = _unstacked(dict(zip(columns, new_columns)))
    kept = {name: done[name].astype(_native(column), copy=False) for name, column in given.items()}
    return new_points, new_corners, kept, warned(Report(run, "scan"))


def _native(array: Array) -> np.dtype[Any]:
    """The array's number type in the machine's byte order."""
    return array.dtype.newbyteorder("=")


def _rows_of_three(name: str, values: npt.ArrayLike, types: Tuple[type, type]) -> Array:
    rows = np.asarray(values)
    if rows.ndim != 2 or rows.shape[1] != 3 or _native(rows) not in types:
        wanted = " or ".join(t.__name__ for t in types)
        raise _kelvane.InputError(
            f"{name} must be rows of three {wanted}, not {rows.dtype} of shape {rows.shape}"
        )
    return np.ascontiguousarray(rows, dtype=_native(rows))


def _carried(name: str, column: Array, points: Array) -> Array:
    """An attribute as the module takes it."""
    if column.dtype.kind not in "biuf" or column.dtype.itemsize > 8:
        raise _kelvane.InputError(
            f"attribute '{name}': no numbers that are known here: {column.dtype}"
        )
    if column.ndim not in (1, 2) or len(column) != len(points) or column.shape[1:] == (0,):
        raise _kelvane.InputError(
            f"attribute '{name}': {len(points)} values or rows of values are wanted, one per "
            f"vertex, not the shape {column.shape}"
        )
    native = _native(column)
    return np.ascontiguousarray(column, dtype=_CARRIERS.get(native, native))


def _is_normals(name: str, column: Array) -> bool:
    return name in (*_NORMALS, _STACKED) and column.dtype.kind == "f" and column.shape[1:] == (3,)


def _stacked(columns: Dict[str, Array]) -> Dict[str, Array]:
    """With one array in place of nx, ny and nz, where these are numbers of one type."""
    axes = [columns[name] for name in _AXES if name in columns]
    if len(axes) < 3 or any(a.ndim > 1 or a.dtype != axes[0].dtype for a in axes):
        return columns
    others = {name: column for name, column in columns.items() if name not in _AXES}
    return {**others, _STACKED: np.stack(axes, axis=1)}


def _unstacked(columns: Dict[str, Array]) -> Dict[str, Array]:
    """The way back."""
    if _STACKED in columns:
        columns.update(zip(_AXES, columns.pop(_STACKED).T.copy()))
    return columns
