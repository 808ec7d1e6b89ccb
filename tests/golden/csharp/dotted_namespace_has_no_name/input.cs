namespace Shop.Orders
{
    class Order { }
}
namespace Shop
{
    class Order { }
}
