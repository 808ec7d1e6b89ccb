//! Of the file.

/// First line.
// Ordinary.
///
/// Last line.
fn run() {}

/* Plain block. */
fn plain() {}

/** Doc block,
 * two lines. */
fn block() {}

/// Of a trait.
trait Shape {
    /// Of its method.
    fn area(&self) {}
    // Ordinary.
    fn name(&self) {}
}

//// Four slashes.
mod inner {
    //! Of the module, from inside.
    fn deep() {}
}

/// Of no enum.
enum Color {}
