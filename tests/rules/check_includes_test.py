"""check_includes_test.py CHECKER: whether tools/check-includes finds what it is there for."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECKER = sys.argv.pop()

HOUSE = {
    "src/Foundation/CMakeLists.txt": "dresk_library(Foundation\n  SOURCES\n    String.cpp\n)\n",
    "src/Foundation/String.h": "#pragma once\n#include <string>\n",
    "src/Foundation/String.cpp": '#include "Foundation/String.h"\n',
    "src/store/CMakeLists.txt": "dresk_library(store SOURCES Snippet.cpp LINK Foundation)\n",
    "src/store/Snippet.h": '#include "Foundation/String.h"\n',
    "src/language/CMakeLists.txt": "dresk_library(language SOURCES Parser.cpp LINK store)\n",
    "src/language/Parser.h": '#include "store/Snippet.h"\n#include "Foundation/String.h"\n',
    "src/seam/CMakeLists.txt": "dresk_library(seam SOURCES DROutput.cpp LINK language)\n",
    "src/seam/DROutput.h": '#include "language/Parser.h"\n',
    "src/engine/CMakeLists.txt": "dresk_library(engine SOURCES AutoText.cpp LINK seam)\n",
    "src/engine/AutoText.h": '#include "seam/DROutput.h"\n',
    "src/input/CMakeLists.txt": "dresk_library(input SOURCES Input.cpp LINK seam)\n",
    "src/input/Input.h": '#include "seam/DROutput.h"\n',
    "src/input/x11/CMakeLists.txt":
        "dresk_library(input_x11 SOURCES Tap.cpp LINK input PRIVATE PkgConfig::XCB)\n",
    "src/input/x11/Tap.cpp": '#include "input/Input.h"\n\n#include <xcb/xcb.h>\n',
}

# Name, files that are added or replaced, and what the checker must say.
BREACHES = [
    ("climbs", {"src/store/Up.cpp": '#include "language/Parser.h"\n'},
     'src/store/Up.cpp:1: store must not include "language/Parser.h"'),
    ("crosses the seam", {"src/engine/Over.cpp": '\n#include "input/Input.h"\n'},
     'src/engine/Over.cpp:2: engine must not include "input/Input.h"'),
    ("crosses back", {"src/input/x11/Over.cpp": '#include "engine/AutoText.h"\n'},
     'input/x11 must not include "engine/AutoText.h"'),
    ("link list climbs",
     {"src/store/CMakeLists.txt": "dresk_library(store SOURCES S.cpp LINK Foundation language)\n"},
     "src/store/CMakeLists.txt: store must not link language"),
    ("not linked", {"src/seam/CMakeLists.txt": "dresk_library(seam SOURCES DROutput.cpp)\n"},
     'seam includes "language/Parser.h" but does not link its library'),
    ("X header", {"src/engine/X.cpp": "#include <xkbcommon/xkbcommon.h>\n"},
     "src/engine/X.cpp:1: <xkbcommon/xkbcommon.h>: headers of X belong"),
    ("Qt header", {"src/input/x11/Q.cpp": "  #  include <QTimer>\n"},
     "src/input/x11/Q.cpp:1: <QTimer>: headers of Qt belong"),
    ("relative path", {"src/store/Relative.cpp": '#include "../Foundation/String.h"\n'},
     "write the path from src/"),
    ("unknown header", {"src/store/Unknown.cpp": '#include "store/Nothing.h"\n'},
     '"store/Nothing.h" is no header of src/'),
    ("unknown folder", {"src/attic/Old.cpp": "\n"}, "src/attic/Old.cpp: lies in no folder"),
    ("too long", {"src/store/Long.cpp": "\n" * 601}, "src/store/Long.cpp: 601 lines"),
]


def check(files):
    """The checker's status and output for a house of these files."""
    with tempfile.TemporaryDirectory() as root:
        for name, text in files.items():
            path = pathlib.Path(root, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        result = subprocess.run([CHECKER, root], capture_output=True, text=True, check=False)
        return result.returncode, result.stdout


class CheckIncludesTest(unittest.TestCase):
    def test_accepts_an_orderly_house(self):
        status, output = check(HOUSE)
        self.assertEqual(status, 0, output)

    def test_finds_each_breach_and_only_that(self):
        for name, files, message in BREACHES:
            with self.subTest(name):
                status, output = check({**HOUSE, **files})
                self.assertEqual(status, 1, output)
                self.assertIn(message, output)
                self.assertIn(" 1 breaches", output)

    def test_an_empty_house_is_no_success(self):
        self.assertEqual(check({})[0], 1)


if __name__ == "__main__":
    unittest.main()
