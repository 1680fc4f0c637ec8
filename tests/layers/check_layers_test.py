"""The layering check on small trees with includes planted for and against the order.

    python3 check_layers_test.py path/to/scripts/check-layers
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = None

DOC = """# Architecture

### The layer order

| order | layer | sideways edges |
|---|---|---|
| 1 | `platform` | |
| 2 | `frame` | |
| 3 | `geometry` | `quantities` (a remark naming `files`) |
| 3 | `quantities` | `files/BinaryStream.h` |
| 5 | `files` | |

## After the table

| 9 | `graphics` | |
"""

# Each case: an id, the files planted (path under zevcore/ -> the header it includes), the
# exit status and the lines the check prints.
CASES = [
    ("downward includes pass", {"frame/A.cpp": "platform/Types.h", "files/B.h": "geometry/P.h"},
     0, ["check-layers: 2 includes follow the layer order"]),
    ("its own layer and the top headers pass", {"platform/A.h": "platform/B.h", "platform/C.h": "Export.h"},
     0, ["check-layers: 2 includes follow the layer order"]),
    ("an upward include fails", {"platform/gl/Bad.h": "frame/Progress.h"},
     1, ["zevcore/platform/gl/Bad.h:2: platform includes zevcore/frame/Progress.h, "
         "against the layer order in docs/ARCHITECTURE.md"]),
    ("a layer of the same level fails", {"quantities/Q.cpp": "geometry/Point2D.h"},
     1, ["zevcore/quantities/Q.cpp:2: quantities includes zevcore/geometry/Point2D.h, "
         "against the layer order in docs/ARCHITECTURE.md"]),
    ("a sideways layer passes", {"geometry/V.cpp": "quantities/Units.h"},
     0, ["check-layers: 1 includes follow the layer order"]),
    ("a sideways header passes, its neighbours do not",
     {"quantities/L.cpp": "files/BinaryStream.h", "quantities/M.cpp": "files/Xml.h"},
     1, ["zevcore/quantities/M.cpp:2: quantities includes zevcore/files/Xml.h, "
         "against the layer order in docs/ARCHITECTURE.md"]),
    ("a name in a remark is no edge", {"geometry/F.cpp": "files/Xml.h"},
     1, ["zevcore/geometry/F.cpp:2: geometry includes zevcore/files/Xml.h, "
         "against the layer order in docs/ARCHITECTURE.md"]),
    ("rows after the section are not read", {"graphics/G.cpp": "platform/Types.h"},
     1, ["zevcore/graphics/G.cpp: the folder graphics has no place in the layer order"]),
]


def run(tree):
    result = subprocess.run([sys.executable, SCRIPT, "--root", str(tree)],
                            capture_output=True, text=True, check=False)
    return result.returncode, result.stdout.splitlines(), result.stderr


def plant(tree, files, doc=DOC):
    (tree / "docs").mkdir(parents=True, exist_ok=True)
    (tree / "docs" / "ARCHITECTURE.md").write_text(doc, encoding="utf-8")
    for path, header in files.items():
        target = tree / "zevcore" / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(f'#pragma once\n#include "zevcore/{header}"\n#include <vector>\n',
                          encoding="utf-8")


class CheckLayersTest(unittest.TestCase):
    def test_cases(self):
        for name, files, status, lines in CASES:
            with self.subTest(name), tempfile.TemporaryDirectory() as scratch:
                tree = pathlib.Path(scratch)
                plant(tree, files)
                code, out, _ = run(tree)
                self.assertEqual(code, status)
                self.assertEqual(out, lines)

    def test_a_document_without_the_table_is_an_error(self):
        with tempfile.TemporaryDirectory() as scratch:
            tree = pathlib.Path(scratch)
            plant(tree, {"frame/A.cpp": "platform/Types.h"}, doc="# Architecture\n")
            code, out, err = run(tree)
            self.assertEqual(code, 2)
            self.assertEqual(out, [])
            self.assertEqual(err.strip(),
                             'check-layers: docs/ARCHITECTURE.md has no "### The layer order" section')

    def test_the_real_tree_fails_once_an_include_is_planted_in_it(self):
        # The real document and folders, with one include against the order added.
        root = pathlib.Path(SCRIPT).resolve().parent.parent
        with tempfile.TemporaryDirectory() as scratch:
            tree = pathlib.Path(scratch)
            (tree / "docs").mkdir()
            (tree / "docs" / "ARCHITECTURE.md").write_bytes((root / "docs" / "ARCHITECTURE.md").read_bytes())
            for folder in (root / "zevcore").iterdir():
                if folder.is_dir():
                    (tree / "zevcore" / folder.name).mkdir(parents=True)
            plant_line = '#include "zevcore/graphics/GLState.h"\n'
            (tree / "zevcore" / "controls" / "Planted.cpp").write_text(plant_line, encoding="utf-8")
            (tree / "zevcore" / "frame" / "Planted.cpp").write_text(plant_line, encoding="utf-8")
            code, out, _ = run(tree)
            self.assertEqual(code, 1)
            self.assertEqual(out, ["zevcore/frame/Planted.cpp:1: frame includes zevcore/graphics/GLState.h, "
                                   "against the layer order in docs/ARCHITECTURE.md"])


if __name__ == "__main__":
    SCRIPT = sys.argv.pop(1)
    unittest.main()
