"""What the kelvane command does, from file to file."""

from __future__ import annotations

import os
import warnings
from pathlib import Path
from typing import Any, Callable, Dict, List, Literal, NamedTuple, Optional

from . import _kelvane
from ._markers import Blocks, FoundMarker, Markers, PathLike, block_rows, marker_rows, markers_of
from ._report import Report, parsed, warned

Progress = Callable[[str, float], Any]
"""Called with the stage that begins and the fraction done; what it raises stops the run."""


class Demo(NamedTuple):
    """The files of a synthetic scan."""

    scan: Path
    truth: Path
    markers: Path


def repair(
    scan: PathLike,
    markers: Markers,
    output: PathLike,
    *,
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
    progress: Optional[Progress] = None,
) -> Report:
    """Removes markers from a scan and closes their places.

    Vertices and faces that the repair leaves alone keep their bits, properties and order and come
    first in the output. A marker that cannot be repaired is left as it was, and the report says
    why; that is no exception.

    scan: .ply, .stl, .obj or .off.
    markers: see Markers: a file, an array (k, 7) or a list.
    output: the repaired scan; may be `scan` itself. What its format cannot hold is warned of, and
        what makes the result doubtful.
    method: "fast", "high" or "low".
    marker_size: added to every marker's radius for the cut; twice the mean edge if None.
    size_adjustable: cut also what faces away by up to 135 degrees near a marker's plane, and let
        `resolution`, the mean point distance of the scan, enlarge the marker size.
    flat_only: take all markers for flat and leave alone what stands on the surface.
    body_height: how far over its place a raised marker is looked for; 8 radii if None.
    leave_open: leave the cut of a marker that cannot be repaired open.
    straight_rims: close markers on the scan's rim by one straight edge, not along its curve.
    whole_mesh: make a mesh of the whole scan; the same result, slower.
    page_markers: so many markers, the worst, get a view in Report.page(), or all if None. With 0
        nothing is kept for a page, which saves some 2 ms of processor time per marker.
    threads: 0 for all processors; the result is the same to the bit.
    progress: called as progress(stage, fraction) when a stage begins, and with 1.0 at the end. What
        it raises before that passes through and leaves the output as it was; so does Ctrl-C, which
        is seen when the next stage begins.
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
    run = _kelvane.repair(
        os.fspath(scan), marker_rows(markers), os.fspath(output), options, progress
    )
    return warned(Report(run, Path(scan).name))


def find(
    scan: PathLike,
    kind: Literal["holes", "colour"],
    output: Optional[PathLike] = None,
    *,
    radius: Optional[float] = None,
    radius_min: Optional[float] = None,
    radius_max: Optional[float] = None,
    inner: float = 0.6,
    dark_inside: bool = False,
) -> List[FoundMarker]:
    """Finds round holes, or markers seen in a PLY scan's vertex colours.

    output: a CSV file for the list, if wanted.
    radius: of the markers; needed for "colour". Holes are taken from 0.75 to 1.3 of it, or between
        radius_min and radius_max; without any, bores of the part are in the list too.
    inner: painted markers: radius of the inner disc, in radii.
    dark_inside: painted markers: a black disc in a white ring, not white in black.
    """
    if kind not in ("holes", "colour"):
        raise _kelvane.InputError(f"'{kind}' cannot be looked for; 'holes' and 'colour' can")
    options = {
        "radius": radius,
        "radius_min": radius_min,
        "radius_max": radius_max,
        "inner": inner,
        "dark_inside": dark_inside,
    }
    rows, figures = _kelvane.find(os.fspath(scan), kind == "holes", options)
    if output is not None:
        _kelvane.write_markers(os.fspath(output), rows)
    return [
        FoundMarker(marker, residual, int(edges), confidence)
        for marker, (residual, edges, confidence) in zip(markers_of(rows), figures.tolist())
    ]


def cut(scan: PathLike, blocks: Blocks, output: PathLike) -> Dict[str, Any]:
    """Cuts spherical blocks out of a scan; their holes stay open. Returns the command's report.

    blocks: a file with the columns x, y, z, radius, or an array (k, 4).
    """
    report, not_kept = _kelvane.cut(os.fspath(scan), block_rows(blocks), os.fspath(output))
    for line in not_kept:
        warnings.warn(line, stacklevel=2)
    return parsed(report)


def info(scan: PathLike) -> Dict[str, Any]:
    """Counts and measures a scan: vertices, faces, bounds, edge lengths, loops, components."""
    return parsed(_kelvane.info(os.fspath(scan)))


def compare(
    scan: PathLike, truth: PathLike, markers: Markers, *, marker_size: Optional[float] = None
) -> Dict[str, Any]:
    """Measures a repaired scan against the true surface, under each marker.

    marker_size: as in the repair; twice the mean edge of `truth` if None.
    """
    return parsed(
        _kelvane.compare(os.fspath(scan), os.fspath(truth), marker_rows(markers), marker_size)
    )


def demo(
    folder: PathLike, *, seed: int = 1, ragged_rim: bool = False, bodies: bool = False
) -> Demo:
    """Writes a synthetic scan of some 100,000 faces, its true surface and its markers.

    seed: another number, another scan.
    ragged_rim: faces missing here and there along the rim.
    bodies: raised, painted and cut-out markers in turn instead of stickers.
    """
    _kelvane.demo(os.fspath(folder), seed, ragged_rim, bodies)
    place = Path(folder)
    return Demo(place / "scan.ply", place / "truth.ply", place / "markers.csv")
