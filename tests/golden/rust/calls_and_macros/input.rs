fn main() {
    foo();
    obj.run();
    self.run();
    Type::new();
    a::b::c();
    println!("{}", bar());
    std::format!("x");
    generic::<u8>();
    (closure)();
    vec![one(), two()];
}
