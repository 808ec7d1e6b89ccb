def one(): return call(1)


def two():
    x = y
