#!/usr/bin/python3
"""Every rule of tools/check goes red on a planted fault, and is green without it."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECK = pathlib.Path(os.path.realpath(__file__)).parents[2] / "tools/check"
GOOD_HEADER = "#pragma once\n\n#include <string>\n\nstd::string name();\n"
GOOD_SOURCE = '#include "base/Name.h"\n\nstd::string name() { return "a"; }\n'


class Check(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        subprocess.run(("git", "init", "-q", self.root), check=True)
        self.write(".clang-format", "BasedOnStyle: LLVM\nColumnLimit: 120\n")
        self.write("src/base/Name.h", GOOD_HEADER)
        self.write("src/base/Name.cpp", GOOD_SOURCE)
        self.write(".gitignore", "/build/\n")
        self.compile("src/base/Name.cpp")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, "utf-8")

    def compile(self, *sources):
        """The build as the check sees it: these sources belong to it."""
        self.write("build/dev/compile_commands.json", json.dumps(
            [{"file": str(self.root / source), "command": f"g++ -std=c++23 -I{self.root}/src -o x.o -c {self.root / source}"}
             for source in sources]))

    def check(self, name):
        return subprocess.run((CHECK, "--root", self.root, name), capture_output=True, text=True, check=False, timeout=120)

    def assert_green(self, name):
        ended = self.check(name)
        self.assertEqual((ended.returncode, ended.stdout), (0, f"OK   {name}\n"), ended.stderr)

    def assert_red(self, name, *says):
        ended = self.check(name)
        self.assertEqual(ended.returncode, 1, ended.stdout + ended.stderr)
        self.assertTrue(ended.stdout.startswith(f"FAIL {name}\n"), ended.stdout)
        for text in says:
            self.assertIn(text, ended.stdout)

    def test_a_good_tree_is_green(self):
        for name in ("format", "layers", "headers", "words", "links"):
            self.assert_green(name)

    def test_an_unknown_check_is_an_error(self):
        self.assertEqual(self.check("formats").returncode, 2)

    def test_format_goes_red_on_one_blank_too_many(self):
        self.write("src/base/Name.cpp", GOOD_SOURCE.replace("return", "return "))
        self.assert_red("format", "src/base/Name.cpp")

    def test_layers_go_red_on_an_arrow_upwards(self):
        self.write("src/base/Name.cpp", GOOD_SOURCE + '#include "store/Meta.h"\n')
        self.assert_red("layers", "src/base/Name.cpp:4", "base may not include store")

    def test_layers_stay_green_on_an_arrow_downwards(self):
        self.write("src/store/Meta.h", '#include "base/Name.h"\n#include "copy/Strings.h"\n')
        self.assert_green("layers")

    def test_layers_go_red_on_an_arrow_sideways(self):
        self.write("src/ai/Step.h", '#include "capture/Levels.h"\n')
        self.assert_red("layers", "ai may not include capture")

    def test_layers_go_red_when_anything_but_the_application_includes_the_platform(self):
        self.write("src/app/main.cpp", '#include "platform/linux/Pulse.h"\n')
        self.assert_green("layers")
        self.write("src/entry/Controller.cpp", '#include "platform/linux/Pulse.h"\n')
        self.assert_red("layers", "entry may not include platform/linux")

    def test_layers_go_red_on_a_library_outside_its_folder(self):
        for header, owner in (("libavcodec/avcodec.h", "media"), ("libswresample/swresample.h", "media"),
                              ("pulse/pulseaudio.h", "platform/linux"), ("xcb/randr.h", "platform/linux"),
                              ("QDBusMessage", "platform/linux"), ("QtDBus/QDBusReply", "platform/linux"), ("simdjson.h", "base")):
            with self.subTest(header=header):
                self.write(f"src/{owner}/Edge.cpp", f"#include <{header}>\n")
                self.assert_green("layers")
                self.write("src/jobs/Queue.cpp", f"#include <{header}>\n")
                self.assert_red("layers", f"<{header}> belongs to {owner}")
                (self.root / "src/jobs/Queue.cpp").unlink()

    def test_layers_go_red_on_a_private_header_of_another_folder(self):
        self.write("src/store/Meta_p.h", "")
        self.write("src/store/Meta.cpp", '#include "store/Meta_p.h"\n')
        self.assert_green("layers")
        self.write("src/jobs/Queue.cpp", '#include "store/Meta_p.h"\n')
        self.assert_red("layers", "store/Meta_p.h is private to store")

    def test_layers_go_red_on_an_include_without_its_folder(self):
        self.write("src/base/Name.cpp", '#include "Name.h"\n')
        self.assert_red("layers", '"Name.h" is not')

    def test_layers_go_red_on_a_platform_told_apart_outside_the_edge(self):
        self.write("src/platform/linux/Edge.cpp", "#ifdef __linux__\n#endif\n")
        self.assert_green("layers")
        self.write("src/base/Name.h", "#if defined(Q_OS_LINUX)\n#endif\n")
        self.assert_red("layers", "src/base/Name.h:1: a platform is told apart")

    def test_layers_go_red_on_an_unknown_folder(self):
        self.write("src/util/Misc.h", "")
        self.assert_red("layers", "src/util/Misc.h: no known folder")

    def test_headers_go_red_on_a_header_that_needs_another(self):
        self.write("src/base/Alone.h", "#pragma once\nstd::string name();\n")
        self.assert_red("headers", "src/base/Alone.h does not compile alone", "std")

    def test_headers_go_red_when_the_source_hides_what_its_header_lacks(self):
        self.write("src/base/Name.h", "#pragma once\nstd::string name();\n")
        self.write("src/base/Name.cpp", '#include <string>\n#include "base/Other.h"\n#include "base/Name.h"\n')
        self.write("src/base/Other.h", "#pragma once\n")
        self.assert_red("headers", "src/base/Name.h")

    def test_headers_go_red_when_the_source_is_not_built(self):
        self.write("src/base/Lost.h", "#pragma once\nstd::string name();\n")
        self.write("src/base/Lost.cpp", '#include "base/Lost.h"\n')
        self.assert_red("headers", "src/base/Lost.h")

    def test_headers_are_looked_at_again_when_a_header_below_them_changes(self):
        self.write("src/base/Below.h", "#pragma once\n#include <string>\n")
        self.write("src/base/Above.h", '#pragma once\n#include "base/Below.h"\nstd::string name();\n')
        self.assert_green("headers")
        self.write("src/base/Below.h", "#pragma once\n")
        self.assert_red("headers", "src/base/Above.h")

    def test_headers_go_red_without_a_build(self):
        (self.root / "build/dev/compile_commands.json").unlink()
        self.assert_red("headers", "configure first")

    def test_words_go_red_on_each_kind(self):
        faults = {"unfinished": ("TO" + "DO: later", "FIX" + "ME", "HA" + "CK", "not yet implem" + "ented"),
                  "path of one machine": ("/wo" + "rk/main/x", 'open("/ro' + 'ot/x")', "/tmp/w" + "t/mine"),
                  "reference outside the tree": ("as the sp" + "ec says", "see Pa" + "rt 2.1", "closes issue" + " #4", "Sp" + "ecification")}
        for what, lines in faults.items():
            for line in lines:
                with self.subTest(line=line):
                    self.write("docs/notes.md", f"fine\n{line}\n")
                    self.assert_red("words", f"docs/notes.md:2: {what}")

    def test_words_stay_green_on_their_neighbours(self):
        self.write("docs/notes.md", "a special part 2, the framework/rootfs, home/work/x, the freedesktop sp" + "ecification\n")
        self.assert_green("words")

    def test_words_pass_over_what_git_ignores(self):
        self.write("build/dev/notes.md", "TO" + "DO\n")
        self.assert_green("words")

    def test_links_go_red_on_a_file_that_is_not_there(self):
        self.write("docs/notes.md", "[here](../src/base/Name.h#top) [there](https://example.org/x) [part](#top)\n")
        self.assert_green("links")
        self.write("docs/notes.md", "\n[here](src/base/Name.h)\n")
        self.assert_red("links", "docs/notes.md:2: src/base/Name.h is not there")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
