//! What late books cost.

use std::collections::HashMap;

/// Cents a day.
const RATE: u32 = 10;

/// A sum of money in cents.
pub type Cents = u32;

/// Who pays less.
pub enum Discount {
    Child,
    Member { years: u32 },
}

/// Something that costs a fine when it is late.
pub trait Lendable {
    fn days_late(&self) -> u32;

    /// The fine without any discount.
    fn fine(&self) -> Cents {
        self.days_late() * RATE
    }
}

/// The fines of all members, by their number.
pub fn total<L: Lendable>(loans: &HashMap<u32, Vec<L>>) -> HashMap<u32, Cents> {
    let mut sums = HashMap::new();
    for (member, lent) in loans {
        sums.insert(*member, lent.iter().map(|loan| capped(loan.fine())).sum());
    }
    sums
}

fn capped(fine: Cents) -> Cents {
    fine.min(2_000)
}
