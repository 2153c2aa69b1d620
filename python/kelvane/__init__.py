"""Removes circular reference markers from triangulated scan meshes.

    import kelvane

    report = kelvane.repair("scan.ply", "markers.csv", "clean.ply")
    vertices, faces, attributes, report = kelvane.repair_arrays(vertices, faces, markers)

Lengths are in the scan's own unit. All functions let other Python threads run while they work, and
several may run at once; a single output file is for one of them. What is wrong with the input is an
InputError (a ValueError) with one line that says what and where; what the system refuses is an
OSError. A failure leaves no half file and loses no old one.
"""

from ._arrays import repair_arrays
from ._files import Demo, compare, cut, demo, find, info, repair
from ._kelvane import InputError, __version__
from ._markers import FoundMarker, Marker, read_markers, write_markers
from ._report import MarkerResult, Report

__all__ = [
    "Demo",
    "FoundMarker",
    "InputError",
    "Marker",
    "MarkerResult",
    "Report",
    "__version__",
    "compare",
    "cut",
    "demo",
    "find",
    "info",
    "read_markers",
    "repair",
    "repair_arrays",
    "write_markers",
]
