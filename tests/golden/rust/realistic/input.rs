//! Temperatures and where they come from.

use std::fmt;

/// Degrees Celsius.
#[derive(Debug, Clone)]
pub struct Celsius(pub f64);

/// What can be read.
pub trait Sensor {
    /// Reads once.
    fn read(&mut self) -> Result<Celsius, ReadError> {
        Err(ReadError::new("nothing there"))
    }
}

pub(crate) mod limits {
    pub const LOW: f64 = -40.0;
    static HIGH: f64 = 85.0;
}

struct Probe<S: Sensor> {
    pub sensor: S,
    count: usize,
}

impl Probe<Wire> {
    // Averages some readings.
    pub fn average(&mut self, times: u32) -> Option<f64> {
        let mut sum = 0.0;
        for _ in 0..times {
            match self.sensor.read() {
                Ok(value) => sum += clamp(value.0),
                Err(error) => eprintln!("{error}"),
            }
        }
        if times == 0 { return None; }
        Some(sum / f64::from(times))
    }
}
