timeout: int = 5
bare: str
_hidden: int = 1
obj.attribute: int = 0

class Model:
    name: str
    size: int = 0

    def method(self):
        count: int = 0
        class Local:
            field: int = 0
            def inner(self):
                local: int = 0
