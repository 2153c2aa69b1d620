"""Markers as users hand them over, and as the module takes them."""

from __future__ import annotations

import os
from typing import Any, NamedTuple, Sequence, Union

import numpy as np
import numpy.typing as npt

from . import _kelvane

PathLike = Union[str, "os.PathLike[str]"]


class Marker(NamedTuple):
    """One circular marker: centre, normal (of any length but 0) and radius."""

    x: float
    y: float
    z: float
    nx: float
    ny: float
    nz: float
    radius: float


class FoundMarker(NamedTuple):
    """A place that looks like a marker's; repair() takes a list of these as it is.

    residual: RMS distance of a hole's border from its circle, 0 for painted markers.
    edges: of the hole's border, 0 for painted markers.
    confidence: 0 to 1, how far within the limits.
    """

    marker: Marker
    residual: float
    edges: int
    confidence: float


Markers = Union[PathLike, "npt.ArrayLike", Sequence[Marker], Sequence[FoundMarker]]
"""A file (CSV or JSON), an array (k, 7) of x, y, z, nx, ny, nz, radius, or a list of markers."""

Blocks = Union[PathLike, "npt.ArrayLike"]
"""A file (CSV or JSON), or an array (k, 4) of x, y, z, radius."""

FloatRows = npt.NDArray[np.float32]


def _rows(values: Any, width: int, what: str) -> FloatRows:
    try:
        rows = np.asarray(values, dtype=np.float32)
    except (TypeError, ValueError) as error:
        raise _kelvane.InputError(f"{what} must be rows of {width} numbers: {error}") from None
    return rows.reshape(0, width) if rows.size == 0 else rows


def marker_rows(markers: Markers) -> FloatRows:
    """The markers as an array (k, 7)."""
    if isinstance(markers, (str, os.PathLike)):
        return _kelvane.read_markers(os.fspath(markers))
    if isinstance(markers, Sequence):
        markers = [m.marker if isinstance(m, FoundMarker) else m for m in markers]
    return _rows(markers, 7, "markers")


def block_rows(blocks: Blocks) -> FloatRows:
    """The blocks as an array (k, 4)."""
    if isinstance(blocks, (str, os.PathLike)):
        return _kelvane.read_blocks(os.fspath(blocks))
    return _rows(blocks, 4, "blocks")


def markers_of(rows: FloatRows) -> list[Marker]:
    """The rows of an array (k, 7) as markers."""
    return [Marker(*row) for row in rows.tolist()]


def read_markers(file: PathLike) -> list[Marker]:
    """Reads a list of markers: CSV with the header x,y,z,nx,ny,nz,radius, or the same as JSON."""
    return markers_of(_kelvane.read_markers(os.fspath(file)))


def write_markers(file: PathLike, markers: Markers) -> None:
    """Writes markers as CSV that read_markers() brings back bit for bit."""
    _kelvane.write_markers(os.fspath(file), marker_rows(markers))
