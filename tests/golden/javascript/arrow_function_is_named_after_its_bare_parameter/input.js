const double = value => value * 2;
const triple = (value) => value * 3;
items.map(item => item.name).filter(item => item);
