function f(a) {
  /* note */
  /* call(x) */
  // if (x)
  /*
  * return
  if not (skipped)
  */
  if (a) {
    a = b;
  } else {
    const go = 1;
  }
}
