export class Shape {
  area() {}
}
export default function main() {
  function inner() {}
}
export const pair = { key: 1, run: x => x };
function hidden() {}
class Hidden { method() {} }
export { hidden };
