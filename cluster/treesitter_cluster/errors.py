"""What ends a run, or a batch; their texts are for the user."""


class ClusterError(Exception):
    """The run could not be done, or not to its end. What is done stays done."""


class RepositoryFault(OSError):
    """A worker cannot read a repository at all: no fault of any file."""
