use foo;
use std::io;
use std::{fs, io::Read};
use a::b as c;
use d::*;
extern crate e;
pub use f;
