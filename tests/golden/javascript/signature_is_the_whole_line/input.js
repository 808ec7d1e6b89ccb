const first = 1; function second() { return 2; } export function third(a,
  b) {
}
    class Indented { one() {} two() {} }
