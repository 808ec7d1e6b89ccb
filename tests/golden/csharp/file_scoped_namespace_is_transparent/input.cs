namespace Shop;

class Order
{
    void Save() { }
}
