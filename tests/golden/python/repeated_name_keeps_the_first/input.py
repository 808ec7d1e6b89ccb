class Shape:
    def area(self):
        def inner(): pass

    def area(self, unit):
        def dropped_with_it(): pass

    def name(self): pass


def area(): pass


class Shape:
    def dropped_too(self): pass
