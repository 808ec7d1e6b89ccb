def assigned():
    x = 1
    """Second statement."""

def called():
    print("x")

def after_comment():
    # A comment is no statement.
    """Still first?"""

class Documented:
    """Of a class."""
    limit: int = 0
    """Of no constant."""

    async def method(self):
        """Of a method."""

    @decorated
    def wrapped(self):
        """Of a wrapped one."""
