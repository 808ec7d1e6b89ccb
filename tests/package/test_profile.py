"""Builds by profile: what is built of a training does not depend on the folder of the sources."""
import shutil

import pytest

from conftest import BUILD, SOURCE, run

# GCC knows static functions by the paths of their files, those of headers too: of which one is called
# through the pointer, a profile says so.
HEADER = "static int twice(int x) { return 2 * x; }\n"
MAIN = """
#include <part.h>
static int more(int x) { return x + 1; }
static __attribute__((noinline)) int sum(int (*f)(int)) {
  int result = 0;
  for (int i = 0; i < 1000; i++) result += f(i);
  return result;
}
int main(int count, char** arguments) { return sum(count > 1 ? more : twice) == 0 && arguments; }
"""


def built(root):
    """The counts of a training in this folder, and the object that is compiled for them."""
    source, build = root / "src", root / "src" / "build"
    (build / "generated").mkdir(parents=True)
    (build / "generated" / "part.h").write_text(HEADER)
    (source / "main.c").write_text(MAIN)
    compiler = (SOURCE / "cmake" / "relative_paths", source, build, "..", "gcc", "-O2",
                f"-fprofile-prefix-path={build}", "-isystem", build / "generated", "-c", source / "main.c",
                "-fno-canonical-system-headers", "-Werror=missing-profile", "-o", "main.o")
    run(*compiler, "-fprofile-generate", "-fprofile-dir=counts", cwd=build)
    run("gcc", "-fprofile-generate", "main.o", "-o", "main", cwd=build)
    run("./main", cwd=build)
    run(*compiler, f"-fprofile-use={build / 'counts'}", cwd=build)
    (counts,) = (build / "counts").iterdir()
    # The file begins with two numbers of its format, one that is drawn and a checksum.
    return counts.name, counts.read_bytes()[16:], (build / "main.o").read_bytes()


@pytest.mark.skipif(not shutil.which("gcc"), reason="profiles are GCC's")
def test_any_folder_gives_the_same(tmp_path):
    assert built(tmp_path / "a") == built(tmp_path / ("b" * 50) / "c d")


def test_no_generated_source_names_the_folder():
    """What it includes by a whole path would have another name elsewhere."""
    sources = [path for path in (BUILD / "generated").rglob("*") if path.suffix in (".c", ".cpp", ".h")]
    assert len(sources) > 3
    assert not [path for path in sources if str(SOURCE.resolve()) + "/" in path.read_text("utf-8")]
