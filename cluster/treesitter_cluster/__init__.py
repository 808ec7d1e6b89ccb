"""treesitter-engine over a cluster: the same records of millions of files, by Dask.

    import distributed, treesitter_cluster
    with distributed.Client("tcp://scheduler:8786") as client:
        summary = treesitter_cluster.parse(client, "output", paths=["src"])

Workers need this package and the engine, both as the driver has them, and the same folders.
"""
from .errors import ClusterError
from .run import Summary, parse

__all__ = ["ClusterError", "Summary", "parse"]
