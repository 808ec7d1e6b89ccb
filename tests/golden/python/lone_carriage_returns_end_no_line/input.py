def f():    return g()def h(): pass
