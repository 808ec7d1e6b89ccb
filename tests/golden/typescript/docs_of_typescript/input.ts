/** An interface. */
interface Shape {}

/** No doc for a type. */
type Size = number;

/** No doc for an enum. */
enum Color {}

/** Above a decorator. */
@sealed
class Circle {
  /** Below other members. */
  @log() draw() {}
  /** Of a static method. */
  public static move(): void {}
}
