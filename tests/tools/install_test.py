#!/usr/bin/python3
"""tools/install asks for what is missing only, says so, and says clearly when it cannot."""

import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
LIST = """
# a comment
[build]
compiler   compiling code
library    reading things
[run]
library    reading things
fonts      letters
"""


class Install(unittest.TestCase):
    """Each test stands on a machine of its own making: small programs that take the place of apt and its like."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name
        self.write("packages", LIST)
        self.installed("compiler", "library", "fonts")
        self.program("apt-cache", "exit 0")
        self.program("apt-get", "exit 0")
        self.program("id", "echo 0")
        for name in ("bash", "awk", "sed", "sort", "comm", "grep", "env", "dirname", "readlink"):
            os.symlink(f"/usr/bin/{name}", os.path.join(self.folder, name))

    def write(self, name, text):
        with open(os.path.join(self.folder, name), "w", encoding="utf-8") as file:
            file.write(text)

    def program(self, name, body):
        self.write(name, f'#!/bin/bash\necho "{name} $*" >>"{self.folder}/calls"\n{body}\n')
        os.chmod(os.path.join(self.folder, name), 0o755)

    def installed(self, *packages):
        self.program("dpkg-query", "\n".join(f"echo 'ii {package}'" for package in packages))

    def run_install(self, *groups):
        return subprocess.run(("/bin/bash", os.path.join(ROOT, "tools/install"), *groups), capture_output=True, text=True, check=False,
                              timeout=60, env={"PATH": self.folder, "BRIEFLET_PACKAGES": os.path.join(self.folder, "packages")})

    def calls(self, program):
        with open(os.path.join(self.folder, "calls"), encoding="utf-8") as file:
            return [line.removeprefix(program).strip() for line in file if line.startswith(program + " ")]

    def test_where_nothing_is_missing_it_says_nothing_and_leaves_apt_alone(self):
        ended = self.run_install("build", "run")
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "", ""))
        self.assertEqual(self.calls("apt-get") + self.calls("apt-cache"), [])

    def test_only_what_is_missing_is_installed_and_it_is_said_what_for(self):
        self.installed("compiler")
        ended = self.run_install("build")
        self.assertEqual(ended.returncode, 0)
        self.assertIn("library: reading things", ended.stderr)
        self.assertNotIn("compiler", ended.stderr)
        self.assertEqual([call.split()[-1] for call in self.calls("apt-get")], ["library"])
        self.assertNotIn("update", " ".join(self.calls("apt-get")))

    def test_a_group_that_was_not_asked_for_is_not_installed(self):
        self.installed("compiler", "library")
        self.assertEqual(self.run_install("build").stderr, "")

    def test_a_package_of_two_groups_is_installed_once(self):
        self.installed("compiler")
        self.run_install("build", "run")
        self.assertEqual(self.calls("apt-get")[0].split()[-2:], ["fonts", "library"])

    def test_a_package_whose_files_were_removed_counts_as_missing_and_a_held_one_does_not(self):
        self.program("dpkg-query", "echo 'rc compiler'; echo 'hi library'")
        self.assertEqual([call.split()[-1] for call in self.run_and_calls("build")], ["compiler"])

    def run_and_calls(self, *groups):
        self.run_install(*groups)
        return self.calls("apt-get")

    def test_the_lists_are_fetched_when_they_do_not_know_the_package(self):
        self.installed("compiler")
        self.program("apt-cache", "exit 100")
        self.assertEqual(["update" in call for call in self.run_and_calls("build")], [True, False])

    def test_the_lists_are_fetched_when_the_first_try_fails(self):
        self.installed("compiler")
        self.program("apt-get", f'[ -f "{self.folder}/fresh" ] && exit 0; [[ $* == *update* ]] && : >"{self.folder}/fresh"')
        self.program("apt-get", f'if [[ $* == *update* ]]; then : >"{self.folder}/fresh"; fi; [ -f "{self.folder}/fresh" ]')
        ended = self.run_install("build")
        self.assertEqual(ended.returncode, 0)
        self.assertEqual(["update" in call for call in self.calls("apt-get")], [False, True, False])

    def test_a_failure_of_apt_is_a_failure_and_names_the_packages(self):
        self.installed("compiler")
        self.program("apt-get", "exit 100")
        ended = self.run_install("build")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("apt-get install --no-install-recommends library", ended.stderr)

    def test_who_is_not_root_goes_through_sudo(self):
        self.installed("compiler")
        self.program("id", "echo 1000")
        self.program("sudo", '"$@"')
        self.assertEqual(self.run_install("build").returncode, 0)
        self.assertEqual(len(self.calls("sudo")), 1)

    def test_without_root_and_sudo_it_says_what_to_do(self):
        self.installed("compiler")
        self.program("id", "echo 1000")
        ended = self.run_install("build")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("needs root", ended.stderr)
        self.assertEqual(self.calls("apt-get"), [])

    def test_on_another_system_it_names_what_is_needed_and_goes_on(self):
        os.remove(os.path.join(self.folder, "dpkg-query"))
        ended = self.run_install("build")
        self.assertEqual(ended.returncode, 0)
        self.assertIn("compiler library", ended.stderr)

    def test_an_unknown_group_is_an_error(self):
        ended = self.run_install("builds")
        self.assertEqual(ended.returncode, 2)
        self.assertIn("no group builds", ended.stderr)

    def test_every_line_of_the_real_list_says_what_for(self):
        with open(os.path.join(ROOT, "tools/packages"), encoding="utf-8") as file:
            for line in file:
                if line.strip() and line[0] not in "#[":
                    self.assertRegex(line, r"^[a-z0-9.+-]+ +\S.*$")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
