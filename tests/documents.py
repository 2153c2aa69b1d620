"""Runs the Python blocks that the documents show, page by page in a folder with a demo scan."""

import os
import re
import tempfile
from pathlib import Path

import numpy as np

import kelvane

ROOT = Path(__file__).resolve().parent.parent


def names_taken_for_granted():
    """A flat sheet with a marker in its middle."""
    x, y = (axis.ravel() for axis in np.meshgrid(np.arange(40.0), np.arange(40.0)))
    a = np.flatnonzero((x < 39) & (y < 39))
    return {
        "vertices": np.stack([x, y, np.zeros_like(x)], axis=1),
        "faces": np.concatenate([np.stack([a, a + 1, a + 41], 1), np.stack([a, a + 41, a + 40], 1)]),
        "markers": [kelvane.Marker(20, 20, 0, 0, 0, 1, 4)],
        "colours": np.zeros((len(x), 3), np.uint8),
    }


def main():
    count = 0
    for page in [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md"))]:
        text = page.read_text(encoding="utf-8")
        names = names_taken_for_granted()
        with tempfile.TemporaryDirectory() as folder:
            os.chdir(folder)
            kelvane.demo(".")
            for block in re.finditer(r"^```python\n(.*?)^```", text, re.DOTALL | re.MULTILINE):
                line = text.count("\n", 0, block.start(1))
                exec(compile("\n" * line + block[1], page, "exec"), names)
                assert names["report"].repaired > 0, page
                count += 1
            os.chdir(ROOT)
    assert count > 0, "no block found"
    print(f"{count} blocks ran")


main()
