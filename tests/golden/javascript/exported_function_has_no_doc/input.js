/** Of the statement around it. */
export function hidden() {}

export /** Right before it. */ function seen() {}

/** Of the statement too. */
export class Hidden {
  /** Of a method. */
  method() {}

  /** Of an async one. */
  async other() {}
}

/** Of an arrow function's declaration. */
const arrow = value => value;
