import { EventEmitter } from "node:events";
import defaults, { merge as mergeOptions, "odd name" as odd } from "./options.js";
import * as codecs from "./codecs.js";
import "./polyfills.js";
export { Decoder, encode as toText } from "./codecs.js";
export * as errors from "./errors.js";

const fs = require("node:fs");
const { join, sep: separator = "/", posix: { dirname, parse: [root = join] = [] }, ...others } = require("node:path");
const LIMITS = { size: 1 << 20, describe: () => `${LIMITS.size} bytes`, "on-full": function () {},
  [fs.constants.R_OK]() { const unseen = 1; } };
let opened = 0, closed;

/** Where records are kept. */
export class Store extends codecs.Base {
  /** Those that are not written yet. */
  #pending = [];
  static shared = new Store();
  "content-type" = "text/plain";
  onClose = () => this.#flush();

  /** Opens the file. */
  constructor(path, { mode, ...rest } = {}) {
    super(path);
    const handle = fs.openSync(join(path, "x"));
    this.handle = handle;
  }

  get size() { return this.#pending.length; }
  set size(value) { this.#pending.length = value; }
  async *[Symbol.asyncIterator]() { yield* this.#pending; }
  static of(...records) { return new this(records); }

  #flush() {
    const write = (record) => codecs?.encode?.(record);
    for (const record of this.#pending) write(record);
    if (this.last instanceof codecs.Frame) super.flush();
  }
}

/** A class of its own name, as stack traces show it. */
const Queue = class Queue extends EventEmitter {
  push(item) { this.emit("item", item); }
};

// The old way to write a class.
function Reader(path) {
  this.path = path;
  this.rewind = function () { opened = 0; };
}
Reader.open = function (path) { return new Reader(path); };
/** Reads one record. */
Reader.prototype.read = function read() { return (0, defaults.read)(this); };
Reader.prototype.chunk = 4096;
Reader.prototype = {
  /** Stops. */
  close: function () { closed += 1; },
  reset() {},
};

// A wrapper hides nothing of the file; a function that is given to another one does.
(function () {
  const settings = mergeOptions({ retries: 3 });
  function retry(times) { return retry(times - 1); }
  setTimeout(() => { const late = settings; });
})();

if (opened) {
  const block = 1;
  var hoisted = block;
}

async function* lines(path) {
  const [first] = await import(/* webpackChunkName: "lines" */ "./lines.js");
  function inner() { return tag`${first}`; }
  yield inner()();
}

// Listed below.
const archive = lines, keep = 1;
exports.version = "1.0";
exports.parse = exports.load = function load(text) { return JSON.parse(text); };
module.exports.Pool = class { take() {} };
module.exports = { archive, Reader, stop: halt, dump() {}, walk: function* () {} };
module.exports = class Archive extends Store { open() {} };
module.exports = async () => { const unseen = 2; };
export { Queue, lines as default };
function halt() { const local = require.resolve("./halt.js"); }
Heap.prototype.push = Heap.prototype.add = function (item) { return <Item of={item} />; };
