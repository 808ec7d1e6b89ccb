pub fn a() {}
pub(crate) struct B { pub c: u8, d: u8 }
pub(in crate::x) mod e {}
pub(self) const F: u8 = 1;
fn g() {}
pub trait H { fn i() {} }
impl J { pub fn k() {} fn l() {} }
impl H for M { fn n() {} }
