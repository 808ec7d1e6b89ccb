struct A<T: B> { c: D<E>, f: g::H }
impl<T> I<T> for J where T: K {}
fn l(m: &M) -> Option<N> { O::p() as Q }
type R = Box<dyn S>;
