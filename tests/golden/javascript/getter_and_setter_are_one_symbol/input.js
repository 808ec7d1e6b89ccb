class Box {
  get size() { return this.n; }
  set size(n) { function lost() {} this.n = n; }
  static size() {}
}
