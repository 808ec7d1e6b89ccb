import functools

if functools:
    try:
        @functools.cache
        class Wrapped:
            with open("x") as file:
                def in_with(self): pass
    except OSError:
        def fallback(): pass
