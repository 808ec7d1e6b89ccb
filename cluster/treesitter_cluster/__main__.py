"""The command as a module: python3 -m treesitter_cluster."""
import sys

from .cli import main

if __name__ == "__main__":
    sys.exit(main())
