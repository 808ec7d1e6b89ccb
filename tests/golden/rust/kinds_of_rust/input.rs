pub mod shapes {
    pub const LIMIT: u32 = 1;
    pub static NAME: &str = "n";
    pub type Size = u32;
    pub enum Color { Red }
    pub trait Shape { fn area(&self) -> f64 { 0.0 } fn name(&self); const N: u8; }
    pub struct Point { x: i32, pub y: Size }
    pub struct Unit;
    pub union Bits { a: u8 }
    macro_rules! skip { () => {} }
}
