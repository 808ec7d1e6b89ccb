/// Hidden.
#[derive(Clone)]
struct Point;

#[inline]
/// Seen.
fn run() {}

/// Above.
#[test]
/// Below.
fn both() {}

/// Of a public one.
pub fn open() {}
