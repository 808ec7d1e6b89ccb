interface Shape { double area(); }
enum Color { RED { void paint() {} }, GREEN; void mix() {} }
@interface Marker { int value() default 0; }
record Point(int x, int y) { Point { check(x); } double norm() { return 0; } }
class Box { Box() {} static { class Hidden {} } }
