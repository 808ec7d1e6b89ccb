def before(): pass

class Broken(
    def inside(self): pass

x = = 1

def after(): return call()
