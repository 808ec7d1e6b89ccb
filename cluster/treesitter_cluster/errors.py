"""What ends a run; its text is for the user."""


class ClusterError(Exception):
    """The run could not be done, or not to its end. What is done stays done."""
