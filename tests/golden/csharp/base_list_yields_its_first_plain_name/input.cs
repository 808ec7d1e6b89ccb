class A : B, C { }
class D : E<F>, G { }
interface H : I.J, K { }
class L : M.N { }
enum O : byte { P }
