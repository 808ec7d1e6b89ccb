def f(a, b):
    """One line."""
    # if comment(x):
    x = y
    throws = Return = doing = 1
    x = compute(y)
    format = awaited
    "docstring like"
    (x)
    x (y)
    return x


def g():
    """
    A docstring's call(x) line stays.
    Others go.
    """
    '''if skipped'''
    z = (2
         * h(3))
    é(1)
    x = "go"
