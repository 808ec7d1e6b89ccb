self.handler()
routes = {"key": self._handler, "b": a.b.c}
self.a.b()
run(obj.callback).after
x[0].y = obj.field
@app.route
def view(): pass
f(a.b)()
