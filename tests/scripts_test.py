#!/usr/bin/env python3
"""The scripts in a checkout that was moved, copied or reached by a link, and the benchmark's --engine.

    scripts_test.py [options of unittest]

The scripts run in a copy of the files that they need. Their cmake is a script that writes its arguments into
a file and "builds" a tool that prints its own path.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parent.parent
NEEDED = ["scripts", "run", "CMakePresets.json", "package-lock.json", "examples/sources"]

PROGRAMS = {
    "cmake": r"""
echo "$*" >>"$NOTES"
if [[ $1 == --build ]]; then
  printf '#!/bin/sh\necho %s/treesitter-engine\n' "$2" >"$2/treesitter-engine"
  chmod +x "$2/treesitter-engine"
else
  folder=$PWD/build/$3
  mkdir -p "$folder"
  touch "$folder/build.ninja"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\nCMAKE_CACHEFILE_DIR:INTERNAL=%s\n' \
    "$PWD" "$folder" >"$folder/CMakeCache.txt"
fi
""",
    "dpkg-query": "printf installed",
    "npm": "exit 1",
    "ccache": "exit 1",
}


class Checkout(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        self.notes = self.folder / "notes"
        self.environment = dict(os.environ, NOTES=str(self.notes),
                                PATH=f"{self.folder / 'bin'}:{os.environ['PATH']}")
        for name, text in PROGRAMS.items():
            self.write(f"bin/{name}", f"#!/usr/bin/env bash\n{text}").chmod(0o755)
        for name in NEEDED:
            copy = shutil.copytree if (PROJECT / name).is_dir() else shutil.copy2
            (self.folder / "first" / name).parent.mkdir(parents=True, exist_ok=True)
            copy(PROJECT / name, self.folder / "first" / name)
        lock = (PROJECT / "package-lock.json").read_text()
        self.write("first/node_modules/.installed-lock.json", lock)

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        return path

    def run_script(self, name):
        """Runs the script. Gives its output, and the arguments of each call of cmake."""
        self.notes.write_text("")
        done = subprocess.run([str(self.folder / name)], env=self.environment, cwd=self.folder,
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout, self.notes.read_text().splitlines()

    def asserts_run(self, name, place, configures):
        build = self.folder / place / "build/release"
        configured = ["--fresh --preset release"] if configures else []
        self.assertEqual(self.run_script(f"{name}/run"),
                         (f"{build}/treesitter-engine\n",
                          [*configured, f"--build {build} -- --quiet -k 0"]))

    def test_a_build_belongs_to_its_place(self):
        self.asserts_run("first", "first", configures=True)
        self.asserts_run("first", "first", configures=False)
        (self.folder / "link").symlink_to("first")
        self.asserts_run("link", "first", configures=False)
        (self.folder / "first").rename(self.folder / "moved")
        self.asserts_run("moved", "moved", configures=True)
        shutil.copytree(self.folder / "moved", self.folder / "copied", symlinks=True)
        self.asserts_run("copied", "copied", configures=True)
        self.asserts_run("moved", "moved", configures=False)

    def test_where_there_is_no_apt(self):
        """The scripts look for everything they need, and name all of it if something is missing."""
        programs = ["bash", "basename", "cat", "chmod", "cmp", "dirname", "env", "flock", "mkdir", "nproc",
                    "rm", "sed", "tail", "touch"]
        for name in programs:
            (self.folder / "bin" / name).symlink_to(shutil.which(name))
        (self.folder / "bin/dpkg-query").unlink()
        self.environment["PATH"] = str(self.folder / "bin")
        done = subprocess.run([str(self.folder / "first/run")], env=self.environment,
                              cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("not found: c++; ninja;", done.stderr)
        self.assertIn(" icu-uc >= 72;", done.stderr)
        self.assertIn("PCRE2 10.42 (libpcre2-8)", done.stderr)
        for name in ("c++", "ninja", "pkg-config", "python3", "git", "ctags"):
            self.write(f"bin/{name}", "#!/bin/sh\nexit 0\n").chmod(0o755)
        self.write("bin/npm", "#!/bin/sh\nexit 0\n").chmod(0o755)
        self.asserts_run("first", "first", configures=True)

    def test_a_profile_is_made_and_used_under_one_name(self):
        """Both builds have the same path, by which compilers find the profile of an object."""
        (self.folder / "first/tests/golden").mkdir(parents=True)
        (self.folder / "link").symlink_to("first")
        # So that the script takes the outputs of the two tools, which are their paths, for equal records.
        self.write("bin/cmp", "#!/bin/sh\nexit 0\n").chmod(0o755)
        _, asked = self.run_script("link/scripts/build_pgo")
        build = self.folder / "first/build"
        self.assertEqual([line for line in asked if "--build" in line],
                         [f"--build {build / preset} -- --quiet -k 0"
                          for preset in ("pgo-train", "pgo")])


class Benchmark(unittest.TestCase):
    def test_programs_may_be_named_from_here(self):
        """The programs run in the folder of the corpus, so their paths must be made absolute."""
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder).resolve() / "build/pgo/engine_parse"
            program.parent.mkdir(parents=True)
            program.touch()
            code = ("from harness import compare\n"
                    "print(compare.arguments().engine)\n")
            done = subprocess.run(
                [sys.executable, "-c", code, "corpus", "--stock", program, "--counts", "counts",
                 "--engine", "pgo=build/pgo/engine_parse"],
                cwd=folder, env=dict(os.environ, PYTHONPATH=str(PROJECT / "bench")),
                capture_output=True, text=True, check=False)
            self.assertEqual((done.stdout, done.stderr), (f"[('pgo', '{program}')]\n", ""))


if __name__ == "__main__":
    unittest.main()
