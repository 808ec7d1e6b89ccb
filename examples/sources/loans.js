import { readFile, writeFile } from "node:fs/promises";
import { addDays } from "./dates.js";

const LIMITS = { adult: 10, child: 5 };

/**
 * The loans of one member.
 */
export class Account {
  #loans = [];

  constructor(member) {
    this.member = member;
  }

  /** Lends a book, unless the member has too many already. */
  lend(book, today = new Date()) {
    if (this.#loans.length >= LIMITS[this.member.kind]) {
      throw new RangeError(`${this.member.name} has too many books`);
    }
    this.#loans.push({ book, due: addDays(today, 28) });
  }

  get overdue() {
    return this.#loans.filter(loan => loan.due < Date.now());
  }
}

async function save(account, path) {
  await writeFile(path, JSON.stringify(account, null, 2));
}

export const load = async path => JSON.parse(await readFile(path, "utf8"));
