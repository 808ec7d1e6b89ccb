class Repository
{
    public Order Find(int id) { return null; }
    public Order Load() { return null; }
    public void Save() { }
    public List<Order> All() { return null; }
    public string Name { get; set; }
    public Customer Owner { get; set; }
    public System.Uri Link { get; set; }
}
