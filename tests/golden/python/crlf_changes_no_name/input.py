class A:
    """Doc
    more."""

    def f(self):
        return g(1)
