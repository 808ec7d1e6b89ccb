import type { Clock } from "./clock";
import fs = require("node:fs");
import Level = logging.Level;
export { type Sink, open as openSink } from "./sink";

/** What is shared by all modules. */
export namespace Settings.Defaults {
  export const RETRIES = 3;
  let cached: Map<string, bigint> | undefined;
}

declare module "virtual:config" {
  export function load(path: string): Promise<Config>;
  interface Config extends Base<Section>, Readonly<Partial<Section>> { name: string; }
}

declare global {
  var debug: boolean;
  interface Window { app: App; }
}

/** How much is said. */
export enum Verbosity {
  /** Nothing at all. */
  Quiet,
  Normal = 1,
  "very loud" = Normal << 1,
}
declare const enum Flag { On }

export interface Store<K, V extends Entry = Entry> extends Iterable<V> {
  readonly size: number;
  /** One entry. */
  get(key: K): V | null;
  listen?(listener: (entry: V) => void): Unsubscribe;
  onClose: () => void;
  new (clock: Clock): Store<K, V>;
  (key: K): V;
  [key: string]: unknown;
}

type Reducer<S> = { initial: S; reduce(state: S, action: Action): S };
type Item<T> = T extends Array<infer U> ? U : keyof T;
type Lazy = { [P in keyof Settings]?: import("./lazy").Loader } & Mixin;

/** Keeps entries in memory. */
@Injectable({ scope: Scope.ROOT })
export default class MemoryStore<V> extends Emitter<V> implements Store<string, V>, io.Closeable {
  static readonly CAPACITY = 100;
  static shared?: MemoryStore<any>;
  declare tag: string;
  #entries = new Map<string, V>();
  private readonly onTick = (clock: Clock): void => this.sweep!(clock);

  /** Takes the clock. */
  constructor(private readonly clock: Clock, @Inject(TOKEN) public options: Options, limit = 1) {
    super();
  }

  /** All that there are. */
  @Memo() @Trace
  get size(): number { return this.#entries.size; }
  find(key: string): V;
  find(key: RegExp): V[];
  find(key: any) { return <V>this.#entries.get(key as string); }
  protected sweep(clock: Clock) { const local = clock; }
}

export abstract class Emitter<T> {
  abstract emit(value: T): void;
  protected abstract name: string;
  static { register(Emitter); }
}

declare function assertEntry(value: unknown): asserts value is Entry;
export function isEntry(value: unknown): value is Entry;
export function isEntry(value: any) { return value instanceof EntryBase; }

export const create = <T>(store: Store<string, T>): Promise<T> => {
  const entry = store.get("x") satisfies T;
  function nested(this: Window) { return parse<T>(entry); }
  return nested as unknown as Promise<T>;
};
export const { log, level: threshold } = Level.current(), [first] = process.argv;
const routes = { home: () => fs.read(1), about() {} } satisfies Routes, pair: [Left, ...Right[]] = [1];
for (let i = 0; i < 1; i++) { try { create(i); } catch (error: unknown) { const kept: Failure = error; } }
(fs as any).access<Level>?.(new (Base as Constructor<Item<string>>)()), (<Sync>sync)!(), load9();
export namespace Units { function own() {} export class Gram { weigh() {} } class Hidden { weigh() {} } }
declare module "units" { const kilo: number; namespace Deep { interface Ton { weight: Kilo } } }
declare global { interface Window { units: Units } }
interface Trails {
  first: string; /** Of first. */
  second: number;
  /** Of third. */ third: boolean; /** Of fourth. */ fourth?: Date;
}
export = MemoryStore;
