"""treesitter-engine on a Dask cluster: the records of millions of files, the same as on one machine.

    import distributed, treesitter_cluster
    with distributed.Client("tcp://scheduler:8786") as client:
        summary = treesitter_cluster.parse(client, "output", paths=["src"])

Each worker needs this package and the engine in the driver's versions, and sees the same folders under
the same names.
"""
from .driver import Summary
from .errors import ClusterError
from .run import parse

__all__ = ["ClusterError", "Summary", "parse"]
