"""Prints where Python modules of C belong below an installation prefix, relative to it.

    site_folder.py PREFIX

For a prefix of this Python's own, the folder that it searches: Debian's has one below /usr for
packages and another below /usr/local. For any other, what a Python installed there would search.
"""
import os
import site
import sys
import sysconfig


def site_folder(prefix):
    library = os.path.join(prefix, "lib")
    for folder in site.getsitepackages():
        if folder.startswith(library):
            return folder
    return sysconfig.get_path("platlib", "posix_prefix", {"base": prefix, "platbase": prefix})


if __name__ == "__main__":
    PREFIX = os.path.abspath(sys.argv[1])
    print(os.path.relpath(site_folder(PREFIX), PREFIX))
