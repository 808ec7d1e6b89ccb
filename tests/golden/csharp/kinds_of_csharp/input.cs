namespace Shop
{
    interface IStock { void Add(int n); }
    enum Color { Red }
    struct Point { int x; }
    record Line(int A);
    class Box
    {
        Box() { }
        ~Box() { }
        int count, total;
        int Size { get; set; }
        delegate void Handler();
        event Handler Changed;
        public static Box operator +(Box a, Box b) => a;
    }
}
