class Outer:
    class Inner:
        def method(self):
            def local():
                class Deep: pass
