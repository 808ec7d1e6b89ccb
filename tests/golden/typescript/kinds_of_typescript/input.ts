interface Shape { area(): number; }
type Size = number;
enum Color { Red, Green }
abstract class Base { abstract draw(): void; move(): void {} }
class Circle extends Base { draw() {} radius = 1; }
declare function external(): void;
namespace Tools { function inside() {} }
declare module "plugin" { class FromPlugin {} }
module Old { class Legacy {} }
