record Basket(
    int First,
    params string[] Rest);
