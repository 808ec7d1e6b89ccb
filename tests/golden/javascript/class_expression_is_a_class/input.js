const Shape = class Circle {
  area() {}
};
const Anonymous = class {
  area() {}
};
