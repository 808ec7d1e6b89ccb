const h = { click: this.onClick, nested: a.b.c };
obj.field = other.field;
run(obj.callback);
window.top.scroll();
a.b().c;
class A { #p; m() { return this.#p; } }
x = obj[key];
