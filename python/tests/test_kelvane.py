"""The surface of the package; what lies below it is tested beside the toolkit.

Run away from the repository's root, whose folder kelvane/ would be taken for the package.
"""

import ast
import os
import queue
import signal
import subprocess
import tempfile
import threading
import time
import unittest
from pathlib import Path

import numpy as np

import kelvane

COMMAND = os.environ.get("KELVANE_COMMAND", "")


def read_ply(file):
    """Vertices and faces of a binary PLY file as the toolkit writes it."""
    data = Path(file).read_bytes()
    head, body = data.split(b"end_header\n", 1)
    words = [line.split() for line in head.decode().splitlines()]
    n, m = (int(line[2]) for line in words if line[0] == "element")
    floats = [line for line in words if line[0] == "property" and line[1] != "list"]
    assert [line[1:] for line in floats] == [["float", axis] for axis in "xyz"], floats
    vertices = np.frombuffer(body, "<f4", 3 * n).reshape(n, 3)
    records = np.frombuffer(body, [("count", "u1"), ("face", "<i4", 3)], m, 12 * n)
    return vertices, np.ascontiguousarray(records["face"])


class Kelvane(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.demo = kelvane.demo(Path(cls.folder.name) / "demo")
        cls.markers = kelvane.read_markers(cls.demo.markers)
        cls.vertices, cls.faces = read_ply(cls.demo.scan)
        cls.output = Path(cls.folder.name) / "clean.ply"
        cls.report = kelvane.repair(cls.demo.scan, cls.demo.markers, cls.output)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def path(self, name):
        return Path(self.folder.name) / name

    def test_arrays_equal_files_to_the_bit(self):
        clean = read_ply(self.output)
        rows = np.array(self.markers)  # float64 of what were floats
        # As a scan whose doubles no float holds, but which round to the scan's own floats.
        doubles = self.vertices.astype(np.float64) * (1.0 + 1e-12)
        for points, corners, markers in (
            (self.vertices, self.faces, self.demo.markers),
            (doubles, self.faces.astype(np.int64), rows),
            (np.asfortranarray(doubles).astype(">f8"), self.faces[:, ::1], self.markers),
        ):
            with self.subTest(points=points.dtype, faces=corners.dtype):
                before = points.copy()
                v, f, attributes, report = kelvane.repair_arrays(points, corners, markers)
                self.assertEqual((v.dtype.type, f.dtype), (points.dtype.type, corners.dtype))
                np.testing.assert_array_equal(v.astype(np.float32), clean[0])
                np.testing.assert_array_equal(f, clean[1])
                np.testing.assert_array_equal(points, before)
                kept = len(v) - sum(m.new_vertices for m in report)
                self.assertLessEqual(rows_in(v[:kept]), rows_in(points.astype(v.dtype)))
                self.assertEqual(attributes, {})

    def test_attributes_are_carried_and_grow_into_the_patch(self):
        x = self.vertices[:, 0]
        types = (np.bool_, np.int8, np.uint16, np.int64, np.uint64, np.float16, np.float32, float)
        given = {np.dtype(t).name: np.rint(x % 2).astype(t) for t in types}
        given["place"] = np.stack([x, -x], axis=1)
        given["big"] = np.full(len(x), np.iinfo(np.int64).max)
        given["vertex_normals"] = np.tile([0.0, 0.0, 1.0], (len(x), 1))
        given.update(zip(("nx", "ny", "nz"), given["vertex_normals"].T))
        v, _, done, report = kelvane.repair_arrays(
            self.vertices, self.faces, self.markers, attributes=given
        )
        kept = len(v) - sum(m.new_vertices for m in report)
        self.assertEqual(list(done), list(given))
        for name, values in given.items():
            with self.subTest(name):
                self.assertEqual(done[name].dtype, values.dtype)
                self.assertEqual(done[name].shape, (len(v), *values.shape[1:]))
        np.testing.assert_array_equal(done["place"][:kept, 0], v[:kept, 0])
        np.testing.assert_array_equal(done["float16"][:kept], np.rint(v[:kept, 0] % 2))
        self.assertLess(np.abs(done["place"] - np.stack([v[:, 0], -v[:, 0]], axis=1)).max(), 0.7)
        self.assertGreater(done["big"].min(), 2**62)
        normals = done["vertex_normals"]
        np.testing.assert_allclose(np.linalg.norm(normals[kept:], axis=1), 1.0, rtol=1e-6)
        self.assertGreater(normals[kept:, 0].std(), 0.05, "of the new surface, not mixed ones")
        np.testing.assert_array_equal(np.stack([done[a] for a in ("nx", "ny", "nz")], 1), normals)

    @unittest.skipUnless(COMMAND, "KELVANE_COMMAND names no command")
    def test_files_and_reports_are_the_commands(self):
        report = self.path("report.json")
        subprocess.run(
            [COMMAND, "repair", self.demo.scan, "--markers", self.demo.markers, "--quiet",
             "--method", "high", "--output", self.path("c.ply"), "--report", report],
            check=True,
        )  # fmt: skip
        ours = kelvane.repair(
            self.demo.scan, self.markers, self.path("p.ply"), method="high", threads=1
        )
        self.assertEqual(self.path("p.ply").read_bytes(), self.path("c.ply").read_bytes())
        self.assertEqual(without_times(ours.to_json()), without_times(report.read_text()))

    def test_report_is_a_sequence_and_shows_itself(self):
        report = self.report
        self.assertEqual(len(report), len(self.markers))
        self.assertEqual([m.marker for m in report], self.markers)
        self.assertEqual(report.repaired, sum(m.repaired for m in report))
        self.assertEqual(report.to_dict()["repaired"], report.repaired)
        self.assertIn(report[-1].words, str(report))
        html = report._repr_html_()
        self.assertEqual(html.count("<svg"), sum(m.new_faces > 0 for m in report))
        self.assertIn(f"<b>{report[-1].words}</b>", html)
        page = report.page(self.path("page.html")).read_text()
        self.assertIn("scan.ply", page)
        rims = [f"rim {m.rim}: {m.rim_reason}" for m in report if m.rim]
        self.assertGreater(len(rims), 0)
        for phrase in rims:
            self.assertEqual((html.count(phrase), phrase in page), (rims.count(phrase), True))
        vertices, _ = read_ply(self.output)
        for m in report:
            self.assertEqual(len(m.patch_faces), m.new_faces)
            self.assertLessEqual(rows_in(m.patch_vertices), rows_in(vertices))
            if m.new_faces > 0:
                self.assertEqual(len(m.patch_vertices), m.new_vertices + m.border_vertices)

    def test_progress_cancels_and_leaves_the_output(self):
        told = []
        kelvane.repair_arrays(
            self.vertices, self.faces, [], progress=lambda stage, done: told.append((stage, done))
        )
        self.assertEqual((told[0], told[-1]), (("build", 0.0), ("output", 1.0)))
        self.assertEqual(told, sorted(told, key=lambda entry: entry[1]))

        def stop(stage, done):
            if stage == last:
                raise RuntimeError("enough")

        self.path("old.ply").write_text("old")
        for last in ("build", "fairing", "output"):
            with self.assertRaisesRegex(RuntimeError, "enough"):
                kelvane.repair(self.demo.scan, self.markers, self.path("old.ply"), progress=stop)
            self.assertEqual(self.path("old.ply").read_text(), "old")
            with self.assertRaisesRegex(RuntimeError, "enough"):
                kelvane.repair_arrays(self.vertices, self.faces, self.markers, progress=stop)

    def test_interrupt_cancels(self):
        # The queue's put() runs no Python code, in which the interpreter would see the signal.
        stages = queue.SimpleQueue()

        def interrupt():
            stages.get()
            os.kill(os.getpid(), signal.SIGINT)

        with self.assertRaises(KeyboardInterrupt):
            threading.Thread(target=interrupt).start()
            kelvane.repair(
                self.demo.scan, self.markers, self.path("none.ply"), progress=stages.put
            )
            time.sleep(10)
        self.assertFalse(self.path("none.ply").exists())

    def test_other_threads_run_meanwhile(self):
        ticks, results = [], []

        def repair():
            results.append(kelvane.repair_arrays(self.vertices, self.faces, self.markers)[0])

        workers = [threading.Thread(target=repair) for _ in range(3)]
        for worker in workers:
            worker.start()
        while any(worker.is_alive() for worker in workers):
            ticks.append(time.monotonic())
            time.sleep(0.001)
        self.assertEqual(len(results), 3)
        for vertices in results[1:]:
            np.testing.assert_array_equal(vertices, results[0])
        self.assertGreater(len(ticks), 20)

    def test_what_is_wrong_is_said(self):
        v, f, m = self.vertices, self.faces, self.markers
        scan = self.demo.scan
        out, missing = self.path("x.ply"), self.path("missing/x.ply")
        arrays = kelvane.repair_arrays
        for error, words, call in (
            (kelvane.InputError, "missing/x.ply", lambda: kelvane.info(missing)),
            (OSError, "cannot be written", lambda: kelvane.repair(scan, m, missing)),
            (ValueError, "no method is called 'best'", lambda: arrays(v, f, m, method="best")),
            (TypeError, "threads", lambda: arrays(v, f, m, threads="two")),
            (TypeError, "page_markers", lambda: arrays(v, f, m, page_markers=-1)),
            (ValueError, "was 0", lambda: arrays(v, f, [], page_markers=0)[3].page(out)),
            (ValueError, "marker size", lambda: arrays(v, f, m, marker_size=-1.0)),
            (ValueError, "rows of 7 numbers", lambda: arrays(v, f, np.zeros((2, 6)))),
            (ValueError, "marker 1: the radius", lambda: arrays(v, f, [m[0]._replace(radius=0)])),
            (ValueError, "vertices must be rows of three", lambda: arrays(v[:, :2], f, m)),
            (ValueError, "faces .* int64, not uint32", lambda: arrays(v, f.astype("u4"), m)),
            (ValueError, "face 0 names a vertex .*: -1", lambda: arrays(v, f * 0 - 1, m)),
            (ValueError, "face 0 .*: 4294967296", lambda: arrays(v, f * 0 + (1 << 32), m)),
            (ValueError, "'a': .* one per vertex", lambda: arrays(v, f, m, attributes={"a": [1]})),
            (ValueError, "'a': no numbers", lambda: arrays(v, f, m, attributes={"a": v * 1j})),
            (ValueError, "'bores' cannot be looked for", lambda: kelvane.find(scan, "bores")),
            (ValueError, "block 1: the radius", lambda: kelvane.cut(scan, [[0, 0, 0, 0]], out)),
        ):  # fmt: skip
            with self.subTest(words), self.assertRaisesRegex(error, words):
                call()
        self.assertTrue(issubclass(kelvane.InputError, ValueError))

    def test_the_stub_names_what_the_module_has(self):
        stub = ast.parse(Path(kelvane.__file__).with_name("_kelvane.pyi").read_text())
        named = {node.name for node in stub.body if hasattr(node, "name")}
        self.assertEqual(named, {name for name in dir(kelvane._kelvane) if name[0] != "_"})

    def test_the_other_functions(self):
        before, after = (
            kelvane.compare(scan, self.demo.truth, self.markers)["largest_inside"]
            for scan in (self.demo.scan, self.output)
        )
        self.assertLess(after, 0.5 * before)
        kelvane.cut(self.demo.truth, [[0, 0, 0, 9]], self.path("cut.ply"))
        self.assertEqual(kelvane.info(self.path("cut.ply"))["boundary_loops"], 2)
        with self.assertWarns(UserWarning):
            painted = kelvane.demo(self.path("painted"), bodies=True)
            kelvane.repair(painted.scan, painted.markers, self.path("colourless.stl"))
        found = kelvane.find(painted.scan, "colour", self.path("found.csv"), radius=2.8)
        self.assertEqual(kelvane.read_markers(self.path("found.csv")), [m.marker for m in found])
        self.assertGreater(len(found), 2)
        report = kelvane.repair(painted.scan, found, self.path("found.ply"))
        self.assertEqual(len(report), len(found))


def rows_in(array):
    """The rows' bits as a set."""
    return set(map(bytes, array))


def without_times(report):
    lines = report.splitlines()
    begin = next(i for i, line in enumerate(lines) if line.startswith('  "seconds"'))
    end = next(i for i, line in enumerate(lines) if '"seconds_total"' in line)
    return [line for line in lines[:begin] + lines[end + 1 :] if '"threads"' not in line]


if __name__ == "__main__":
    unittest.main()
