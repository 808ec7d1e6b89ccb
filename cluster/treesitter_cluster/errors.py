"""The errors that end a run or a batch. Their texts are for the user."""


class ClusterError(Exception):
    """The run could not be started or completed. What is done stays done."""


class RepositoryFault(OSError):
    """A worker cannot read a repository at all, which is no file's fault."""
