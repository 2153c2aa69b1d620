"""What a repair tells."""

from __future__ import annotations

import json
import os
import warnings
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Dict, Iterator, List, Optional, Sequence, Tuple, Union, overload

import numpy as np
import numpy.typing as npt

from . import _kelvane
from ._html import report_html
from ._markers import Marker, PathLike, markers_of


def parsed(text: str) -> Dict[str, Any]:
    """A report of the module as plain dicts and lists."""
    values: Dict[str, Any] = json.loads(text)
    return values


@dataclass(frozen=True)
class MarkerResult:
    """What became of one marker; lengths in the scan's unit.

    number: from 1, as in the command's report.
    outcome: the cause by name, e.g. "repaired_loop"; words: the same in words.
    rim, rim_reason: how a place on the scan's rim was closed there, "curved" or "straight", and
        why; None inside the scan.
    border_vertices, new_vertices, new_faces: 0 where there is no hole of the marker's own.
    patch_vertices, patch_faces: the patch with its border's vertices as (k, 3) float32 and (m, 3)
        int32; without rows where there is none of its own.
    details: the marker's entry in to_dict().
    """

    number: int
    marker: Marker
    outcome: str
    words: str
    repaired: bool
    rim: Optional[str]
    rim_reason: Optional[str]
    border_vertices: int
    new_vertices: int
    new_faces: int
    patch_vertices: npt.NDArray[np.float32] = field(repr=False, compare=False)
    patch_faces: npt.NDArray[np.int32] = field(repr=False, compare=False)
    details: Dict[str, Any] = field(repr=False, compare=False)


class Report(Sequence[MarkerResult]):
    """A repair's report: a sequence with one MarkerResult per marker, in the order of the list.

    repaired, unrepaired: numbers of markers.
    marker_size: added to the radii for the cut, as it was used.
    seconds: the time of all stages.
    """

    def __init__(self, run: _kelvane.Run, title: str) -> None:
        self._run = run
        self._title = title
        self._dict = parsed(run.json())
        self.repaired: int = self._dict["repaired"]
        self.unrepaired: int = self._dict["unrepaired"]
        self.method: str = self._dict["method"]
        self.marker_size: float = self._dict["marker_size"]
        self.threads: int = self._dict["threads"]
        self.seconds: float = self._dict["seconds_total"]
        self._results: List[MarkerResult] = [
            self._result(i, marker) for i, marker in enumerate(markers_of(run.markers()))
        ]

    def _result(self, i: int, marker: Marker) -> MarkerResult:
        entry = self._dict["markers"][i]
        vertices, faces = self._run.patch(i)
        return MarkerResult(
            number=entry["marker"],
            marker=marker,
            outcome=entry["outcome"],
            words=self._run.words(i),
            repaired=entry["repaired"],
            rim=entry.get("rim"),
            rim_reason=entry.get("rim_reason"),
            border_vertices=entry["border_vertices"],
            new_vertices=entry["new_vertices"],
            new_faces=entry["new_faces"],
            patch_vertices=vertices,
            patch_faces=faces,
            details=entry,
        )

    def __len__(self) -> int:
        return len(self._results)

    def __iter__(self) -> Iterator[MarkerResult]:
        return iter(self._results)

    @overload
    def __getitem__(self, index: int) -> MarkerResult: ...
    @overload
    def __getitem__(self, index: slice) -> List[MarkerResult]: ...
    def __getitem__(self, index: Union[int, slice]) -> Union[MarkerResult, List[MarkerResult]]:
        return self._results[index]

    def to_dict(self) -> Dict[str, Any]:
        """The command's JSON report as plain dicts and lists; a copy."""
        return parsed(self.to_json())

    def to_json(self) -> str:
        """The command's JSON report, letter for letter."""
        return self._run.json()

    def page(self, file: PathLike, title: Optional[str] = None) -> Path:
        """Writes an HTML page that shows the places before and after, the worst first.

        It is one file that needs no network. title: the scan's name if None. Returns the file.
        """
        self._run.write_page(os.fspath(file), self._title if title is None else title)
        return Path(file)

    def __repr__(self) -> str:
        return f"<kelvane.Report: {self.repaired} of {len(self)} markers repaired>"

    def __str__(self) -> str:
        rows = [
            f"{r.number:6}  {r.border_vertices:6}  {r.new_vertices:8}  {r.new_faces:5}  {r.words}"
            for r in self
        ]
        return "\n".join(["marker  border  vertices  faces  outcome", *rows, self._summary()])

    def _summary(self) -> str:
        return (
            f"{self.repaired} of {len(self)} markers repaired, "
            f"cut {self.marker_size:.3g} beyond their radius, {self.seconds:.3g} s"
        )

    def _repr_html_(self) -> str:
        return report_html(self._summary(), self._results)


def warned(report: Report) -> Report:
    """The report, of whose warnings the caller's caller has been told."""
    told = report.to_dict()
    for line in told["warnings"] + told["not_kept"]:
        warnings.warn(line, stacklevel=3)
    return report
