def f(
    a=g(),
    b=1,
):
    pass
