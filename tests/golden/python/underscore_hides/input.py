MAX_SIZE = 1
_MAX_SIZE = 1
def load(): pass
def _load(): pass
class _Impl:
    def __init__(self): pass
    def visible(self): pass
