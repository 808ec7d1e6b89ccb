const routes = {
  home: "/",
  "quoted-key": 1,
  [computed]: 2,
  nested: { inner: true },
  shorthand,
  method() {},
  call: function named() {},
};
