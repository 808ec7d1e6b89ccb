struct Stack { items: Vec<u8> }

impl Stack {
    fn push(&mut self) {}
}

impl Clone for Stack {
    fn clone(&self) -> Stack { Stack { items: Vec::new() } }
}

impl Queue {
    fn pop(&mut self) {}
}

impl<T> Holder<T> {
    fn hold(&self) {}
}

impl fmt::Display for Stack {
    fn fmt(&self) {}
}
