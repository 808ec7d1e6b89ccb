//! Shapes and their store.

extern crate alloc as memory;

mod codec;

use crate::units::*;
use serde;
use std::fmt::{self, Display, Formatter};
use std::io as stdio;
use super::{color::Color, Error as Failure};
use tracing::Instrument as _;

/// How many shapes a store takes.
pub const LIMIT: usize = 16;
static mut COUNT: usize = 0;
static NAME: &'static str = "shapes";
const _: () = assert!(LIMIT > 0);

/// Makes a vector
/// of shapes.
#[macro_export]
macro_rules! shapes {
    ($($shape:expr),*) => { vec![$($shape),*] };
}

/** What is drawn. */
#[derive(Debug, serde::Serialize)]
#[repr(u8)]
pub enum Shape {
    /// A dot.
    #[serde(rename = "dot")]
    Dot,
    Line(Point, Point),
    Circle { center: Point, radius: f64 },
}

// No documentation.
pub(crate) struct Store<T: Display + 'static> {
    /// What is kept.
    pub items: Vec<Box<dyn Draw<T>>>,
    open: Option<Handle>,
}

#[doc = "Four bytes."]
#[doc(alias = "int")]
pub union Word {
    pub bytes: [u8; 4],
    number: u32,
}

/// What can be drawn.
pub trait Draw<T>: Send {
    const DEPTH: u8 = 1;
    type Output: Clone;
    /// Draws once.
    fn draw(&self, on: &mut T) -> Self::Output;
    fn outline(&self) {}
}

impl<T> Store<T>
where
    T: Display,
{
    /// An empty store.
    #[must_use]
    pub fn new() -> Self {
        Self { items: Vec::with_capacity(LIMIT), open: None }
    }

    fn largest(&self, kept: &dyn Fn(&Shape) -> bool) -> Result<u32, Failure> {
        fn area(shape: &Shape) -> f64 {
            match shape {
                Shape::Circle { radius, .. } => radius.powi(2) * std::f64::consts::PI,
                Shape::Line(Point(x, _), _) => *x as Unit as f64,
                _ => f64::default(),
            }
        }
        let sizes = self.items.iter().map(|item| (item.size)()).collect::<Vec<Size>>();
        unsafe { (*self.hook)(COUNT) };
        tracing::debug!("{}", NAME);
        Color::from(sizes.max()?).mix(kept).await
    }
}

impl<'a, T> fmt::Display for &'a Store<T> {
    fn fmt(&self, f: &mut Formatter) -> fmt::Result {
        const WIDTH: usize = 3;
        f.pad(Word { number: 1 }.text(WIDTH))
    }
}

impl Draw<Store<u8>> for (Point, Point) {
    type Output = <Point as Draw<u8>>::Output;
    fn draw(&self, on: &mut Store<u8>) -> Self::Output { on.line::<Point>(self) }
}

#[path = "bindings.rs"]
pub mod raw {
    //! Bindings.
    type Size = u32;
    extern "C" {
        pub fn draw_raw(size: Size) -> c_int;
    }
    pub(self) fn hidden() {}
}

#[cfg_attr(feature = "serde", derive(serde::Deserialize, Serialize), serde(default))]
struct Optional;
use serde_json as json;
