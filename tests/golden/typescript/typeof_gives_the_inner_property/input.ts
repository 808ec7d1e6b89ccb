let z: typeof a.b.c;
let y: typeof a.b;
