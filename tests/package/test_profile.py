"""Builds by profile: the result does not depend on the folder of the sources."""
import shutil

import pytest

from conftest import BUILD, SOURCE, run

# GCC identifies static functions by the paths of their files, headers too. The profile of this program has
# such identities, since it notes which function is called through the pointer.
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
    """Trains the program in this folder. Gives the counts, and the object that is compiled with them."""
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
    # The first 16 bytes are the file's format, a random number and a checksum.
    return counts.name, counts.read_bytes()[16:], (build / "main.o").read_bytes()


@pytest.mark.skipif(not shutil.which("gcc"), reason="profiles are GCC's")
def test_any_folder_gives_the_same(tmp_path):
    assert built(tmp_path / "a") == built(tmp_path / ("b" * 50) / "c d")


def test_no_generated_source_names_the_folder():
    """A whole path in an include would be another one in another folder."""
    sources = [path for path in (BUILD / "generated").rglob("*") if path.suffix in (".c", ".cpp", ".h")]
    assert len(sources) > 3
    assert not [path for path in sources if str(SOURCE.resolve()) + "/" in path.read_text("utf-8")]
