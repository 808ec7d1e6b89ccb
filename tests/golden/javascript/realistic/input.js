import { EventEmitter } from "node:events";
import render from "./render.js";

const DEFAULTS = { page: 1, size: 20 };

/**
 * A list that is shown page by page.
 */
class Pager extends EventEmitter {
  #items = [];

  constructor(items, options = {}) {
    super();
    this.#items = items;
    this.options = { ...DEFAULTS, ...options };
  }

  /** How many pages there are. */
  get pages() {
    return Math.ceil(this.#items.length / this.options.size);
  }

  async show(page) {
    for (const item of this.#items) {
      if (item.page === page) await render(item);
    }
    this.emit("shown", { page, by: () => this.pages });
  }
}

// Not part of the interface.
function clamp(value, low, high) {
  return Math.min(Math.max(value, low), high);
}

export function open(items) {
  return new Pager(items).show(clamp(1, 0, 9));
}
