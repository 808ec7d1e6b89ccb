f(1); f(2)
f(g(x), f(3))
f(
    g()
)
obj.f; f()
