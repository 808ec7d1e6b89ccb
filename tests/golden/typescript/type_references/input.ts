class A extends B<C> implements D, E.F {}
interface G extends H, I<J> {}
type K = L | M[] | N.O;
function p<T extends U>(q: V): W { return <X>q as Y; }
let z: typeof a.b.c;
let s: string;
enum Color { Red }
